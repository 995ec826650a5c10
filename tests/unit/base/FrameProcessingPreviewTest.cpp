#include "FrameProcessing.h"

#include "DateTime.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <random>
#include <vector>

namespace {

using libobribase::FrameProcessing;
using libobribase::SPixelKernels;
using libobribase::ZoneMatrix;

/// A frame and room for two previews of it, on one instruction level.
class Preview : public testing::TestWithParam<const SPixelKernels*> {
protected:
    struct SOptions {
        int profileX = 100, profileY = 100, rawRows = 1, rawColumns = 0, highByte = 0, inverted = 0, skipText = 0,
            showOverflow = 0;
        ZoneMatrix* zones = nullptr;
    };
    struct SResult {
        std::vector<uint32_t> rgb;
        std::vector<uint64_t> bins;
        std::vector<uint16_t> profile;
        bool operator==(const SResult&) const = default;
    };

    Preview() : m_curve(65536)
    {
        libobribase::choosePixelKernels(*GetParam());
        for (auto& colour : m_curve) // no grey, so that a colour lost is seen
            colour = static_cast<uint32_t>(m_random()) & 0xFFFFFF;
    }
    ~Preview() override { libobribase::choosePixelKernels(*libobribase::pixelLevels().back()); }

    /// Pixels of which a quarter overflow either way, behind an odd start.
    void makeFrame(int width, int height)
    {
        m_width = width, m_height = height;
        m_pixels.resize(area() + 1);
        for (auto& pixel : m_pixels) {
            const auto level = static_cast<uint16_t>(m_random());
            pixel = level % 4 == 0 ? level % 8000 : level % 4 == 1 ? 65535 - level % 8000 : level;
        }
    }

    size_t area() const { return static_cast<size_t>(m_width) * static_cast<size_t>(m_height); }

    SResult made(const SOptions& o, int withText = 0)
    {
        SResult result = emptyResult();
        FrameProcessing processing(m_width, m_height, 0, m_pixels.data() + 1, nullptr, nullptr);
        const libobribase::DateTime time{2024, 3, 5, 6, 7, 8, 9};
        if (withText)
            processing.ApplyPcTimeOverlay(&time);
        processing.CreatePreview(nullptr, o.zones, result.rgb.data(), result.bins.data(), m_curve.data(),
                                 result.profile.data(), o.profileX, o.profileY, o.rawRows, o.rawColumns, o.highByte,
                                 o.inverted, o.skipText, o.showOverflow);
        return result;
    }

    SResult expected(const SOptions& o, int withText = 0)
    {
        SResult result = emptyResult();
        PixelReference reference(m_width, m_height, 0, m_pixels.data() + 1, nullptr, nullptr);
        reference.m_textWidth = withText ? 208 : 0;
        reference.m_textHeight = withText ? 16 : 0;
        reference.preview({result.rgb.data(), result.bins.data(), m_curve.data(), result.profile.data(), o.profileX,
                           o.profileY, o.rawRows, o.rawColumns, o.highByte, o.inverted, o.skipText, o.showOverflow,
                           o.zones});
        return result;
    }

    std::mt19937 m_random{7};
    std::vector<uint32_t> m_curve;
    std::vector<uint16_t> m_pixels;
    int m_width = 0, m_height = 0;

private:
    SResult emptyResult() const
    {
        return {std::vector<uint32_t>(area(), 0xDEADBEEF), std::vector<uint64_t>(1024, 1),
                std::vector<uint16_t>(33, 1)};
    }
};

INSTANTIATE_TEST_SUITE_P(Level, Preview, testing::ValuesIn(libobribase::pixelLevels()),
                         [](const auto& level) { return std::string(level.param->name); });

constexpr std::array<std::array<int, 2>, 10> sSizes{
    {{1, 1}, {7, 33}, {9, 34}, {16, 40}, {31, 50}, {176, 128}, {209, 40}, {211, 70}, {333, 130}, {5, 4096}}};

TEST_P(Preview, EqualsTheReference)
{
    for (const auto [width, height] : sSizes) {
        makeFrame(width, height);
        for (int mode = 0; mode < 16; ++mode)
            for (const int rawRows : {0, 1, 16, height, height + 5})
                for (const int rawColumns : {0, 3, 8, width, width + 5}) {
                    SOptions options{.profileX = static_cast<int>(m_random() % width),
                                     .profileY = static_cast<int>(m_random() % height)};
                    options.rawRows = rawRows;
                    options.rawColumns = rawColumns;
                    options.highByte = mode & 1;
                    options.inverted = mode & 2;
                    options.skipText = mode & 4;
                    options.showOverflow = mode & 8;
                    const int withText = mode & 4;
                    const SResult result = made(options, withText);
                    ASSERT_EQ(result, expected(options, withText)) << width << " x " << height << ", mode " << mode;
                }
    }
}

TEST_P(Preview, OfLargeFramesOfSamplesEqualsTheReference)
{
    // Large frames take their colours from a table of samples, but for rows with more than 12 bits to a pixel.
    for (const auto [width, height] : {std::array{521, 509}, {4099, 65}}) {
        makeFrame(width, height);
        ZoneMatrix zones(width, height);
        zones.setEnabled(true);
        for (size_t i = 0; i < m_pixels.size(); ++i)
            if (i < m_pixels.size() / 2 || i % 5000 > 0)
                m_pixels[i] &= 0xFFF0;
        for (int mode = 0; mode < 8; ++mode) {
            const SOptions options{.rawColumns = mode & 1,
                                   .inverted = mode & 1,
                                   .skipText = 1,
                                   .showOverflow = mode & 2,
                                   .zones = mode & 4 ? &zones : nullptr};
            const SResult result = made(options, mode & 1);
            ASSERT_EQ(result, expected(options, mode & 1)) << width << " x " << height << ", mode " << mode;
        }
    }
}

TEST_P(Preview, DrawsZonesAsTheReference)
{
    for (const auto [width, height] : {std::array{64, 64}, {200, 130}, {63, 65}, {333, 300}})
        for (const unsigned share : {0u, 1u, 2u, 3u}) {
            makeFrame(width, height);
            ZoneMatrix zones(width, height);
            zones.setEnabled(true);
            for (int y = 0; y <= height / 64; ++y)
                for (int x = 0; x <= width / 64; ++x)
                    zones.setZoneEnabled(x, y, m_random() % 3 < share);
            const SOptions options{.rawColumns = 5, .showOverflow = 1, .zones = &zones};
            ASSERT_EQ(made(options), expected(options)) << width << " x " << height << ", share " << share;
        }
}

TEST_P(Preview, MarksOverflowUnlessZonesAreShown)
{
    makeFrame(100, 70);
    ZoneMatrix zones(100, 70);
    const SOptions marked{.showOverflow = 1, .zones = &zones}, plain{};
    EXPECT_EQ(made(marked), expected({.showOverflow = 1})); // the grid is off
    zones.setEnabled(true);
    zones.setAllZonesEnabled(true);
    zones.setZoneEnabled(1, 0, false);
    const SResult shown = made(marked);
    EXPECT_EQ(shown.rgb[30 * 100 + 30], made(plain).rgb[30 * 100 + 30]);
    const uint32_t low = made(plain).rgb[30 * 100 + 63] & 0xFF;
    EXPECT_EQ(shown.rgb[30 * 100 + 63], low / 2 * 0x010001 + std::min(255u, low * 2) * 0x100); // the green line
}

TEST_P(Preview, ProfileReachesOverTheEdgeAsZeros)
{
    makeFrame(40, 40);
    const uint16_t* row = m_pixels.data() + 1 + 20 * 40;
    auto profile = made({.profileX = 10, .profileY = 20, .rawColumns = 2}).profile;
    for (int i = 0; i < 33; ++i)
        EXPECT_EQ(profile[i], i - 6 >= 2 ? row[i - 6] : 0);
    for (const auto [x, y] :
         {std::array{10, -1}, {10, 39}, {10, 40}, {-20, 20}, {60, 20}, {INT32_MAX, 20}, {INT32_MIN, INT32_MIN}})
        EXPECT_THAT(made({.profileX = x, .profileY = y}).profile, testing::Each(0)) << x << ", " << y;
}

TEST_P(Preview, CountsAllButTheOuterRows)
{
    makeFrame(50, 60);
    std::fill(m_pixels.begin(), m_pixels.end(), uint16_t{0xFFFF}); // one bin takes every pixel
    const auto bins = made({.rawRows = 20, .rawColumns = 4}).bins;
    EXPECT_EQ(bins[1023], 46u * (40 - 17));
    EXPECT_EQ(std::accumulate(bins.begin(), bins.end(), uint64_t{0}), bins[1023]);
}

} // namespace
