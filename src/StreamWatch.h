#pragma once

#include <atomic>
#include <chrono>

/// What the streaming thread does about a round that brought no frame.
enum class EStreamVerdict {
    Patience,  ///< wait on
    Dead,      ///< the stream must be stopped and started
    Unplugged, ///< the camera is gone
};

/// Judges from time-outs, empty buffers and failed dequeues whether a stream is alive, slow, dead or unplugged.
///
/// Streaming thread, but for noteExposureTime.
class StreamWatch {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// A stream began, or another attempt at one.
    void streamStarted(Time now);
    void frameArrived(Time now);
    /// A buffer without content came back: sign of a broken transfer, after which the stream may be dead.
    void bufferWasEmpty() { m_sawEmpty = true; }

    /// Dead when no frame came for longer than the camera's exposure explains.
    EStreamVerdict timedOut(Time now) const;
    /// Dead at the third failure in a row. @param error  the dequeue's errno.
    EStreamVerdict dequeueFailed(int error);

    /// How long the camera exposes from now on, milliseconds. Any thread.
    void noteExposureTime(int ms);

private:
    std::chrono::milliseconds patience() const;

    Time m_lastSign{};
    bool m_sawEmpty = false;
    int m_failures = 0;

    // Until somebody sets it, the exposure may be anything up to what the window offers.
    static constexpr int sUnknownExposureMs = 5000;
    std::atomic<int> m_exposureMs{sUnknownExposureMs};
    // The longest since the last frame, and from the one before to it: a new setting does not cut short an exposure
    // that is under way, and a frame that comes was read out beside one.
    std::atomic<int> m_longestSinceFrameMs{sUnknownExposureMs};
    int m_longestBeforeFrameMs = 0;
};

/// The watch over the program's one camera.
StreamWatch& streamWatch();
