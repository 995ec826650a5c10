#include "LightCurve.h"
#include "../base/TemporaryFolder.h"
#include "OpenBytes.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

/// A star of one bright pixel that is gone in frame 2; frame 1 is damaged, the star of frame 3 saturated.
AdvBuilder occultation()
{
    AdvBuilder builder(48, 40);
    builder.add(5);
    for (size_t n = 0; n < 5; ++n) {
        std::vector<uint16_t> pixels(48 * 40);
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint16_t>(2960 + i * 7919 % 81);
        pixels[18 * 48 + 20] = n == 3 ? 65520 : n == 2 ? 3000 : 33000;
        pixels[28] = 65535;                                          // a hot pixel in the sky
        std::fill(pixels.end() - 48, pixels.end(), uint16_t{60000}); // what the camera leaves in the last row
        memcpy(builder.frames[n].pixels.data(), pixels.data(), 2 * pixels.size());
    }
    builder.frames[1].pixels.pop_back();
    return builder;
}

TEST(LightCurve, FindsFluxAndTimesAndTellsBadFrames)
{
    AdvFile file;
    ASSERT_EQ(openBytes(file, occultation().build()), "");
    std::vector<SLightPoint> points;
    std::vector<size_t> skipped;
    ASSERT_EQ(measureLightCurve(file, {20, 18, 6, 9, 25}, points, skipped), ""); // beyond the image and its last row
    EXPECT_EQ(skipped, std::vector<size_t>{1});
    ASSERT_EQ(points.size(), 4u);
    for (const SLightPoint& point : points) {
        EXPECT_NEAR(point.flux, point.frame == 2 ? 0 : point.frame == 3 ? 62520 : 30000, 600) << point.frame;
        EXPECT_NEAR(point.sky, 3000, 10);
        EXPECT_EQ(point.isSaturated, point.frame == 3);
    }
    EXPECT_THAT(lightCurveCsv(points), HasSubstr("\n2,1002,2020-01-01T00:00:00.099000,0.080000,0.038000,"));
    const TemporaryFolder folder;
    ASSERT_EQ(lightCurvePng(points, "test", "a.png"), "");
    EXPECT_THAT(folder.textOf("a.png"), HasSubstr("PNG"));
    for (SLightPoint& point : points)
        point.flux = -9; // a place darker than its ring: the zero line lies above all points
    EXPECT_THAT(lightCurveText(points), HasSubstr(" 0 |....."));
}

} // namespace
