#include "FrameProcessing.h"

#include "DateTime.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
            showOverflow = 0, withText = 0;
    };
    struct SResult {
        std::vector<uint32_t> rgb;
        std::vector<uint64_t> bins = std::vector<uint64_t>(1024, 1);
        std::vector<uint16_t> profile = std::vector<uint16_t>(33, 1);
        bool operator==(const SResult&) const = default;
    };

    Preview() : m_curve(65536)
    {
        libobribase::choosePixelKernels(*GetParam());
        for (auto& colour : m_curve) // no grey, so that a colour lost is seen
            colour = static_cast<uint32_t>(m_random()) & 0xFFFFFF;
    }
    ~Preview() override { libobribase::choosePixelKernels(*libobribase::pixelLevels().back()); }

    /// Pixels of which a quarter overflow either way and a few lie at the very bounds of that, behind an odd start;
    /// zones of which a share in 3 is enabled.
    void makeFrame(int width, int height, unsigned zoneShare = 2)
    {
        constexpr uint16_t sBounds[] = {1311, 1312, 6554, 6555, 58981, 58982, 64224, 64225};
        m_width = width, m_height = height;
        m_pixels.resize(area() + 1);
        for (auto& pixel : m_pixels) {
            const auto level = static_cast<uint16_t>(m_random());
            pixel = level % 4 == 0 ? level % 8000 : level % 4 == 1 ? 65535 - level % 8000 : level;
            if (level % 64 == 2)
                pixel = sBounds[m_random() % std::size(sBounds)];
        }
        m_zones = ZoneMatrix(width, height);
        for (int y = 0; y <= height / 64; ++y)
            for (int x = 0; x <= width / 64; ++x)
                m_zones.setZoneEnabled(x, y, m_random() % 3 < zoneShare);
    }

    size_t area() const { return static_cast<size_t>(m_width) * static_cast<size_t>(m_height); }

    SResult made(const SOptions& o)
    {
        SResult result{std::vector<uint32_t>(area(), 0xDEADBEEF)};
        FrameProcessing processing(m_width, m_height, 0, m_pixels.data() + 1, nullptr, nullptr);
        const libobribase::DateTime time{2024, 3, 5, 6, 7, 8, 9};
        if (o.withText)
            processing.ApplyPcTimeOverlay(&time);
        processing.CreatePreview(nullptr, &m_zones, result.rgb.data(), result.bins.data(), m_curve.data(),
                                 result.profile.data(), o.profileX, o.profileY, o.rawRows, o.rawColumns, o.highByte,
                                 o.inverted, o.skipText, o.showOverflow);
        return result;
    }

    SResult expected(const SOptions& o)
    {
        SResult result{std::vector<uint32_t>(area(), 0xDEADBEEF)};
        PixelReference reference(m_width, m_height, 0, m_pixels.data() + 1, nullptr, nullptr);
        reference.m_textWidth = o.withText ? 208 : 0;
        reference.m_textHeight = o.withText ? 16 : 0;
        reference.preview({result.rgb.data(), result.bins.data(), m_curve.data(), result.profile.data(), o.profileX,
                           o.profileY, o.rawRows, o.rawColumns, o.highByte, o.inverted, o.skipText, o.showOverflow,
                           &m_zones});
        return result;
    }

    /// In every combination of the modes: three of the pixels, and zones.
    void expectTheReferenceInEveryMode(SOptions options)
    {
        for (int mode = 0; mode < 16; ++mode) {
            options.highByte = options.inverted = mode & 1;
            options.skipText = options.withText = mode & 2;
            options.showOverflow = mode & 4;
            m_zones.setEnabled(mode & 8);
            const SResult result = made(options);
            ASSERT_EQ(result, expected(options)) << m_width << " x " << m_height << ", mode " << mode;
        }
    }

    std::mt19937 m_random{7};
    std::vector<uint32_t> m_curve;
    std::vector<uint16_t> m_pixels;
    ZoneMatrix m_zones{0, 0};
    int m_width = 0, m_height = 0;
};

INSTANTIATE_TEST_SUITE_P(Level, Preview, testing::ValuesIn(libobribase::pixelLevels()),
                         [](const auto& level) { return std::string(level.param->name); });

constexpr int sSizes[][2] = {{1, 1},   {7, 33},    {9, 34},   {16, 40},  {31, 50},   {64, 64},
                             {63, 65}, {176, 128}, {209, 40}, {211, 70}, {333, 130}, {5, 4096}};

// The profile may lie over an edge or beside the frame.
TEST_P(Preview, EqualsTheReference)
{
    for (const auto& [width, height] : sSizes)
        for (const int rawRows : {0, 1, 16, height, height + 5})
            for (const int rawColumns : {0, 3, 8, width, width + 5}) {
                makeFrame(width, height, static_cast<unsigned>(rawRows) % 4);
                expectTheReferenceInEveryMode({.profileX = static_cast<int>(m_random() % (width + 60)) - 30,
                                               .profileY = static_cast<int>(m_random() % (height + 2)) - 1,
                                               .rawRows = rawRows,
                                               .rawColumns = rawColumns});
            }
}

// Large frames take their colours from a table of samples, but for rows with more than 12 bits to a pixel.
TEST_P(Preview, OfLargeFramesOfSamplesEqualsTheReference)
{
    for (const auto& [width, height] : {std::pair{521, 509}, {4099, 65}}) {
        makeFrame(width, height);
        for (size_t i = 0; i < m_pixels.size(); ++i)
            if (i < m_pixels.size() / 2 || i % 5000 > 0)
                m_pixels[i] &= 0xFFF0;
        expectTheReferenceInEveryMode({.rawColumns = 1});
        for (auto& colour : m_curve) // what the stretch makes goes another way
            colour = (colour & 0xFF) * 0x010101;
        expectTheReferenceInEveryMode({.rawColumns = 1});
        m_curve[123 << 4] ^= 0x100;
        expectTheReferenceInEveryMode({});
    }
}

} // namespace
