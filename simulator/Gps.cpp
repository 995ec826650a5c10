#include "Gps.h"

#include <algorithm>

namespace obrisim {

static bool hasFix(const SGpsSchedule& schedule, int64_t t)
{
    const bool lost =
        schedule.lostForNs > 0 && t >= schedule.lostFromNs && t < schedule.lostFromNs + schedule.lostForNs;
    return t >= schedule.fixAfterNs && !lost;
}

// GPS weeks begin on Sundays; 1980-01-06 was the first. Leap seconds are left out.
static uint32_t millisecondOfWeek(int64_t utcNs)
{
    constexpr int64_t gpsEpochS = 315'964'800, weekMs = 604'800'000;
    const int64_t ms = utcNs / 1'000'000 - gpsEpochS * 1000;
    return static_cast<uint32_t>((ms % weekMs + weekMs) % weekMs);
}

SGpsState gpsAt(const SGpsSchedule& schedule, int64_t sinceStartNs, int64_t utcNs)
{
    SGpsState state;
    state.dopTime = millisecondOfWeek(utcNs);
    const int64_t second = std::max<int64_t>(0, sinceStartNs / 1'000'000'000);
    if (!hasFix(schedule, sinceStartNs)) {
        state.satellites = static_cast<uint8_t>(std::min<int64_t>(second, 3));
        state.dop.fill(9999); // what receivers say for "no solution"
        return state;
    }
    const int wander = static_cast<int>(second % 7) - 3; // a receiver at rest walks about by some centimetres
    state.fixState = 3;
    state.satellites = static_cast<uint8_t>(9 + second % 4);
    state.accuracyM = static_cast<uint16_t>(2 + second % 3);
    state.latitudeE7 = -338'568'000 + wander;
    state.longitudeE7 = 1'512'093'000 - 2 * wander;
    state.altitudeMm = 92'500 + 40 * wander;
    state.dop = {185, 162, 91, 131, 95};
    return state;
}

} // namespace obrisim
