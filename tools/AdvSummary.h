#pragma once

#include "AdvFile.h"
#include "FrameTimes.h"

namespace obriadv {

/// Frames in a row with one GPS state.
struct SGpsSpan {
    size_t first = 0, last = 0; ///< frame numbers
    uint8_t fixStatus = 0;      ///< raw byte
    uint8_t fewestSatellites = 0, mostSatellites = 0;

    /// The camera sets both low bits when it has a fix.
    bool isFixed() const { return (fixStatus & 3) == 3; }
};

/// What the frames of a recording say together.
struct SAdvSummary {
    size_t framesWithTime = 0; ///< the others were stamped without a valid clock; times and exposures leave them out
    int64_t firstStartNs = 0, lastEndNs = 0;
    double framesPerSecond = 0; ///< 0: too few frames, or times that do not advance
    int64_t shortestExposureNs = 0, longestExposureNs = 0;
    std::vector<SGap> gaps;
    bool hasCounter = false;
    std::vector<SGpsSpan> gps;
    size_t temperatureReadings = 0;
    float lowestTemperature = 0, highestTemperature = 0; ///< raw codes, of frames with a reading
    bool isInterrupted = false;                          ///< no index
};

SAdvSummary summarise(const AdvFile& file);

} // namespace obriadv
