#include "LightCurve.h"
#include "../base/TemporaryFolder.h"
#include "AdvBuilder.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace obriadv;
using testing::HasSubstr;

constexpr double sSky = 3000, sFlux = 100000, sX = 20.3, sY = 18.8;

/// A sky with a star that vanishes in frames 10 to 14, and a last row of junk as the camera leaves it.
AdvBuilder occultation()
{
    AdvBuilder builder;
    builder.width = 48;
    builder.height = 40;
    builder.add(20);
    std::mt19937 random(7);
    std::normal_distribution<double> noise(0, 40);
    for (size_t n = 0; n < builder.frames.size(); ++n) {
        const double flux = n >= 10 && n < 15 ? 0 : sFlux;
        std::vector<uint16_t> pixels;
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 48; ++x) {
                const double square = (x - sX) * (x - sX) + (y - sY) * (y - sY);
                const double star = flux / (2 * M_PI * 1.5 * 1.5) * std::exp(-square / (2 * 1.5 * 1.5));
                const double value = y == 39 ? 60000 : sSky + star + noise(random);
                pixels.push_back(static_cast<uint16_t>(std::lround(value)));
            }
        }
        pixels[28] = 65535; // a hot pixel in the sky
        builder.frames[n].pixels = pixelBytes(pixels);
    }
    return builder;
}

TEST(LightCurve, FindsFluxAndTimesOfAnOccultationAndTellsBadFrames)
{
    AdvFile file;
    AdvBuilder builder = occultation();
    builder.frames[3].pixels[2 * (18 * 48 + 20)] = 0xF0;
    builder.frames[3].pixels[2 * (18 * 48 + 20) + 1] = 0xFF;
    builder.frames[5].pixels.pop_back();
    ASSERT_EQ(openBytes(file, builder.build()), "");
    std::vector<SLightPoint> points;
    std::vector<size_t> skipped;
    ASSERT_EQ(measureLightCurve(file, {sX, sY, 6, 9, 25}, points, skipped), ""); // beyond the image and its last row
    ASSERT_EQ(points.size(), 19u);
    EXPECT_EQ(skipped, std::vector<size_t>{5});
    EXPECT_TRUE(points[3].isSaturated);
    EXPECT_FALSE(points[2].isSaturated);
    for (const SLightPoint& point : points) {
        const double expected = point.frame >= 10 && point.frame < 15 ? 0 : sFlux;
        if (point.isSaturated)
            continue;
        EXPECT_NEAR(point.flux, expected, 2000) << point.frame;
        EXPECT_NEAR(point.sky, sSky, 10);
        EXPECT_NEAR(point.skySigma, 40, 6);
        EXPECT_EQ(point.midNs, AdvBuilder::sFirstStart + static_cast<int64_t>(point.frame) * AdvBuilder::sPeriod +
                                   AdvBuilder::sExposure / 2);
    }
    EXPECT_THAT(lightCurveCsv(points), HasSubstr("\n10,1010,2020-01-01T00:00:00.419000,0.400000,0.038000,"));
    const TemporaryFolder folder;
    ASSERT_EQ(lightCurvePng(points, "test", "a.png"), "");
    EXPECT_THAT(folder.textOf("a.png"), HasSubstr("PNG"));
}

TEST(LightCurve, WhereNothingWasRecordedNothingIsMeasured)
{
    AdvFile file;
    ASSERT_EQ(openBytes(file, occultation().build()), "");
    std::vector<SLightPoint> points;
    std::vector<size_t> skipped;
    for (const SAperture& aperture :
         {SAperture{3, 20, 5, 8, 14}, SAperture{20, 36, 5, 8, 14}, // last row
          SAperture{-1e5, 20, 5, 8, 14}, SAperture{20, 20, 0, 8, 14}, SAperture{20, 20, 5, 8, 8},
          SAperture{20, 20, 5, 8, 1e9}, SAperture{std::nan(""), 20, 5, 8, 14}})
        EXPECT_NE(measureLightCurve(file, aperture, points, skipped), "");
    EXPECT_TRUE(points.empty());
}

} // namespace
