#include "SensorMode.h"

#include <algorithm>

namespace obrisim {

constexpr SSensorMode sModes[] = {
    // words, height, width, binning, origin, read-out
    {1218, 1240, 1624, 1, 4, 0, 75'000'000}, {1218, 128, 1624, 1, 4, 556, 8'000'000},
    {176, 128, 176, 1, 728, 556, 2'000'000}, {612, 620, 816, 2, 0, 0, 25'000'000},
    {408, 310, 408, 4, 0, 0, 12'500'000},
};

std::span<const SSensorMode> sensorModes()
{
    return sModes;
}

// The rule of the kernel's driver: least area outside the common rectangle.
static uint64_t distance(const SSensorMode& mode, uint64_t words, uint64_t height)
{
    const uint64_t modeWords = mode.words, modeHeight = mode.height;
    const uint64_t common = std::min(modeWords, words) * std::min(modeHeight, height);
    return modeWords * modeHeight + words * height - 2 * common;
}

const SSensorMode& nearestMode(uint32_t words, uint32_t height)
{
    return *std::min_element(std::begin(sModes), std::end(sModes), [&](const auto& a, const auto& b) {
        return distance(a, words, height) < distance(b, words, height);
    });
}

} // namespace obrisim
