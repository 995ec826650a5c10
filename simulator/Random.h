#pragma once
#include <cstdint>

namespace obrisim {

/// Mixes two numbers into one that looks random (the finaliser of SplitMix64). The same pair
/// always gives the same result, which is what makes frames reproducible.
constexpr uint64_t mix(uint64_t a, uint64_t b)
{
    uint64_t z = a + 0x9e3779b97f4a7c15 * (b + 1);
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
    z = (z ^ z >> 27) * 0x94d049bb133111eb;
    return z ^ z >> 31;
}

/// 0 up to, but not including, 1.
constexpr double unit(uint64_t random)
{
    return static_cast<double>(random >> 11) * 0x1.0p-53;
}

} // namespace obrisim
