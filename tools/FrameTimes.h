#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Judges a sequence of frames by its times and counters. Any thread.
namespace obriadv {

struct SFrameTime {
    int64_t startNs = 0; ///< since 2010, cut to milliseconds by the camera
    int64_t endNs = 0;
    uint32_t counter = 0; ///< the camera's, when the sequence has one
};

enum class EGap : uint8_t {
    FramesLost,   ///< the counter skipped (or, without counter, the time did)
    Repeated,     ///< the counter did not move
    CounterBack,  ///< the counter went back: the camera was restarted
    TimeStep,     ///< the counter is in order, the time between the frames is not
    TimeBackward, ///< a frame began before the one before it
};

struct SGap {
    EGap kind = EGap::FramesLost;
    size_t before = 0;      ///< number of the frame before the gap; the next one is behind it
    uint32_t missing = 0;   ///< frames lost
    int64_t stepNs = 0;     ///< from start to start
    int64_t expectedNs = 0; ///< what the frames around let expect; 0: they do not tell
};

const char* gapName(EGap kind);

/// Finds every place where two neighbours do not follow each other.
///
/// @param hasCounter  the frames carry a counter, taken modulo 2^32; loss is then judged by it alone.
///
/// Times carry a grain of one millisecond: steps are compared with the mean of the frames around that were exposed
/// equally long, and the step at a change of exposure is not judged.
std::vector<SGap> findGaps(const std::vector<SFrameTime>& frames, bool hasCounter);

/// Frames lost in all gaps.
uint64_t framesLost(const std::vector<SGap>& gaps);

/// The table of gaps as text, a line each behind a head line; empty without gaps.
/// @param labels  what to call each frame, when given; else its number from 0.
std::string gapTable(const std::vector<SGap>& gaps, const std::vector<SFrameTime>& frames, bool hasCounter,
                     const std::vector<std::string>& labels = {});

} // namespace obriadv
