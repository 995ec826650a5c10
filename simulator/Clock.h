#pragma once
#include <cstdint>

namespace obrisim {

/// Nanoseconds of the computer's monotonic clock, and of its UTC clock since 1970.
int64_t monotonicNs();
int64_t realTimeNs();

/// The camera's time: UTC in ns since 1970. Either it runs beside the computer's clock, or it stands
/// still and every frame pushes it on ("by buffers"). Calls are serialised by the caller.
class Clock {
public:
    /// @param originUtcNs        camera time at the camera's start
    /// @param originMonotonicNs  monotonicNs() at that moment
    /// @param steppedByFrames    time moves by advanceTo() alone
    Clock(int64_t originUtcNs, int64_t originMonotonicNs, bool steppedByFrames)
        : m_origin(originUtcNs), m_originMonotonic(originMonotonicNs), m_stepped(steppedByFrames), m_now(originUtcNs)
    {
    }

    int64_t originNs() const { return m_origin; }
    int64_t nowNs() const { return m_stepped ? m_now : m_origin + monotonicNs() - m_originMonotonic; }

    /// The monotonic moment at which a running clock shows this time.
    int64_t monotonicAt(int64_t utcNs) const { return utcNs - m_origin + m_originMonotonic; }

    /// A stepped clock moves on to this time, never back; a running one does not listen.
    void advanceTo(int64_t utcNs) { m_now = utcNs > m_now ? utcNs : m_now; }

private:
    int64_t m_origin, m_originMonotonic;
    bool m_stepped;
    int64_t m_now;
};

} // namespace obrisim
