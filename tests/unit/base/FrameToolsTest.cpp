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
    for (int age = -1; age <= sDepth; ++age) {
        ASSERT_EQ(buffer.read(age, window.data()), age >= 0 && age < sDepth) << age;
        for (int i = 0; i < 256 && age >= 0 && age < sDepth; ++i)
            ASSERT_EQ(window[static_cast<size_t>(i)], 1000 * (10 - age) + i / 16 * sStride + i % 16) << age;
    }
}

TEST(ZoneMatrix, CoversTheImageAndNothingBeyond)
{
    ZoneMatrix zones(1624, 1240);
    for (const auto& [x, y] : {std::pair{25, 19}, {26, 0}, {0, 20}, {-1, 5}, {3, -1}})
        zones.setZoneEnabled(x, y, true); // but for the first, none may reach a neighbour in the row before or after
    for (int y = -2; y < 23; ++y)
        for (int x = -2; x < 29; ++x)
            EXPECT_EQ(zones.isZoneEnabled(x, y), x == 25 && y == 19) << x << ' ' << y;
}
