#pragma once
#include <array>
#include <cstdint>

namespace obrisim {

/// When the receiver has its fix. Times in ns since the camera's own start.
struct SGpsSchedule {
    int64_t fixAfterNs = 2'000'000'000;
    int64_t lostFromNs = 0, lostForNs = 0; ///< lostForNs 0: never lost again
};

/// What the receiver says at one moment.
struct SGpsState {
    uint8_t fixState = 0; ///< 0 none, 3 position and time
    uint8_t satellites = 0;
    uint16_t accuracyM = 0;
    int32_t latitudeE7 = 0, longitudeE7 = 0; ///< 1e-7 degree
    int32_t altitudeMm = 0;
    uint32_t dopTime = 0;          ///< ms of the GPS week
    std::array<uint16_t, 5> dop{}; ///< geometric, position, time, vertical, horizontal; 0.01 units
};

/// @param sinceStartNs  since the camera's own start
/// @param utcNs         since 1970, for the time of the week
SGpsState gpsAt(const SGpsSchedule& schedule, int64_t sinceStartNs, int64_t utcNs);

} // namespace obrisim
