#include "PhotometryBuffer.h"
#include "ZoneMatrix.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

using namespace libobribase;

TEST(PhotometryBuffer, KeepsTheNewestWindowsOfAFrame)
{
    constexpr int sStride = 20, sDepth = 8;
    PhotometryBuffer buffer(16, 16, sDepth);
    std::vector<uint16_t> window(256), frame(15 * sStride + 16); // ends with the window's last pixel
    EXPECT_FALSE(buffer.read(0, window.data()));
    for (uint16_t n = 0; n < 11; ++n) {
        std::iota(frame.begin(), frame.end(), static_cast<uint16_t>(1000 * n));
        buffer.Produce(frame.data(), sStride);
    }
    EXPECT_EQ(buffer.producedCount(), 11u);
    for (int age = 0; age < sDepth; ++age) {
        ASSERT_TRUE(buffer.read(age, window.data()));
        for (int i = 0; i < 256; ++i)
            ASSERT_EQ(window[static_cast<size_t>(i)], 1000 * (10 - age) + i / 16 * sStride + i % 16) << age;
        EXPECT_EQ(buffer.sum(age), std::accumulate(window.begin(), window.end(), 0u));
    }
    EXPECT_FALSE(buffer.read(sDepth, window.data()));
    EXPECT_FALSE(buffer.read(-1, window.data()));
}

TEST(ZoneMatrix, CoversTheImageAndNothingBeyond)
{
    ZoneMatrix zones(1624, 1240);
    EXPECT_FALSE(zones.isEnabled());
    zones.setZoneEnabled(25, 19, true); // the last one
    for (const auto& [x, y] : {std::pair{26, 0}, {0, 20}, {-1, 5}, {3, -1}}) {
        zones.setZoneEnabled(x, y, true); // must not reach a neighbour in the row before or after
        EXPECT_FALSE(zones.isZoneEnabled(x, y)) << x << ' ' << y;
    }
    int enabled = 0;
    for (int y = -2; y < 23; ++y)
        for (int x = -2; x < 29; ++x)
            enabled += zones.isZoneEnabled(x, y);
    EXPECT_EQ(enabled, 1);
    EXPECT_TRUE(zones.isZoneEnabled(25, 19));
}
