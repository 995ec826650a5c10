#include "FrameProcessing.h"

#include "DateTime.h"
#include "Font.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using libobribase::FrameProcessing;
using libobribase::SPixelKernels;

enum class EContent { Random, Sky, Black, White };
constexpr EContent sContents[] = {EContent::Random, EContent::Sky, EContent::Black, EContent::White};

/// Every buffer starts at an odd place and has this much around it, so that a write outside is seen.
constexpr size_t sMargin = 33;

template <class T>
void fill(std::vector<T>& buffer, EContent content, std::mt19937& random)
{
    for (T& value : buffer) {
        const bool isDarkSky = content == EContent::Sky && random() % 50 > 0;
        const auto level = static_cast<T>(isDarkSky ? 3000 + random() % 900 : random());
        value = content == EContent::Black ? T{0} : content == EContent::White ? static_cast<T>(-1) : level;
    }
}

/// What a preview leaves behind.
struct SPreviewed {
    explicit SPreviewed(size_t area) : rgb(area, 0xDEADBEEF) {}
    std::vector<uint32_t> rgb;
    std::vector<uint64_t> bins = std::vector<uint64_t>(1024, 1);
    std::vector<uint16_t> profile = std::vector<uint16_t>(33, 1);
    bool operator==(const SPreviewed&) const = default;
};

/// One frame's buffers, and the same frame again for the reference.
struct Frame {
    Frame(int w, int h, int isCompressed, EContent content, EContent darkContent = EContent::Black)
        : pixels(area(w, h)), expected(area(w, h)), dark(area(w, h)), flat(area(w, h)),
          raw(isCompressed ? area((w + 7) / 8 * 12, h) : area(w * 2, h)),
          processing(w, h, isCompressed, &pixels[sMargin], &dark[sMargin], &flat[sMargin]),
          reference(w, h, isCompressed, &expected[sMargin], &dark[sMargin], &flat[sMargin])
    {
        fillPixels(content);
        fill(dark, darkContent, random);
        fill(flat, EContent::Sky, random);
        flat[flat.size() / 2] = 0;
        fill(raw, content, random);
    }

    static size_t area(int w, int h) { return static_cast<size_t>(w) * static_cast<size_t>(h) + 2 * sMargin; }

    void fillPixels(EContent content)
    {
        fill(pixels, content, random);
        expected = pixels;
    }
    void expectSame()
    {
        EXPECT_TRUE(pixels == expected);
        EXPECT_EQ(
            std::tuple(processing.m_meanValid, processing.m_mean, processing.m_lowerBound, processing.m_upperBound),
            std::tuple(reference.m_meanValid, reference.m_mean, reference.m_lowerBound, reference.m_upperBound));
        EXPECT_TRUE(
            std::equal(reference.m_lineAverages.begin(), reference.m_lineAverages.end(), processing.m_lineAverages));
    }
    void setMean(int mean)
    {
        processing.m_meanValid = reference.m_meanValid = 1;
        processing.m_mean = reference.m_mean = static_cast<uint32_t>(mean);
        reference.m_lowerBound = processing.m_lowerBound = static_cast<uint16_t>(std::max(mean - 1024, 0));
        reference.m_upperBound = processing.m_upperBound = static_cast<uint16_t>(std::min(mean + 1024, 65535));
    }
    void drawText()
    {
        const libobribase::DateTime time{2024, 3, 5, 6, 7, 8, 9};
        processing.ApplyPcTimeOverlay(&time);
        reference.m_textWidth = 26 * 8;
        reference.m_textHeight = 16;
    }

    /// In every combination of the modes: three of the pixels, and zones of which two in three are enabled. The
    /// profile may lie over an edge or beside the frame.
    void expectSamePreviews(const std::vector<uint32_t>& curve, int rawRows, int rawColumns)
    {
        const int width = reference.m_width, height = reference.m_height;
        const int x = static_cast<int>(random() % (width + 60)) - 30, y = static_cast<int>(random() % (height + 2)) - 1;
        libobribase::ZoneMatrix zones(width, height);
        for (int zone = 0; zone < 4096; ++zone)
            zones.setZoneEnabled(zone % 64, zone / 64, random() % 3 > 0);
        expected = pixels;
        for (int mode = 0; mode < 16; ++mode) {
            const int m1 = mode & 1, m2 = mode & 2, m4 = mode & 4;
            zones.setEnabled(mode & 8);
            SPreviewed made(area(width, height)), wanted(area(width, height));
            processing.CreatePreview(nullptr, &zones, made.rgb.data(), made.bins.data(), curve.data(),
                                     made.profile.data(), x, y, rawRows, rawColumns, m1, m1, m2, m4);
            reference.preview({wanted.rgb.data(), wanted.bins.data(), curve.data(), wanted.profile.data(), x, y,
                               rawRows, rawColumns, m1, m1, m2, m4, &zones});
            ASSERT_EQ(made, wanted) << width << " x " << height << ", mode " << mode;
        }
    }

    std::mt19937 random{4};
    std::vector<uint16_t> pixels, expected, dark, flat;
    std::vector<uint8_t> raw;
    FrameProcessing processing;
    PixelReference reference;
};

// Odd widths, widths around a register, rows just too short and just long enough for an average of their own, the two
// smallest frames with a mean, the camera's own, the tallest.
constexpr int sSizes[][2] = {{1, 1},     {7, 3},    {8, 1},    {9, 40},   {17, 5},    {30, 35},  {31, 36},   {33, 35},
                             {176, 128}, {205, 35}, {213, 50}, {227, 35}, {1624, 40}, {3, 4096}, {219, 4096}};
constexpr int sPreviewSizes[][2] = {{1, 1},   {7, 33},    {9, 34},   {16, 40},  {31, 50},   {64, 64},
                                    {63, 65}, {176, 128}, {209, 40}, {211, 70}, {333, 130}, {5, 4096}};

/// One run through all steps.
struct SSettings {
    int mean; // negative: as decoded
    uint16_t pedestal, flatScale;
    int lineNoise, keepRows;
};
constexpr SSettings sSettings[] = {{-1, 0, 0, 1, 16},         {0, 1, 0, 1, -3},          {1000, 200, 0, 1, 1},
                                   {3400, 65535, 0, 0, 0},    {65535, 0, 1, 1, 34},      {-1, 100, 20000, 1, 35},
                                   {3400, 0, 65535, 1, 1000}, {3400, 65535, 65535, 1, 0}};

/// Runs on every instruction level that this processor has.
class OnEveryLevel : public testing::TestWithParam<const SPixelKernels*> {
protected:
    OnEveryLevel()
    {
        libobribase::choosePixelKernels(*GetParam());
        std::mt19937 random(7);
        for (auto& colour : curve) // no grey, so that a colour lost is seen
            colour = static_cast<uint32_t>(random()) & 0xFFFFFF;
    }
    ~OnEveryLevel() override { libobribase::choosePixelKernels(*libobribase::pixelLevels().back()); }

    std::vector<uint32_t> curve = std::vector<uint32_t>(65536);
};
INSTANTIATE_TEST_SUITE_P(Level, OnEveryLevel, testing::ValuesIn(libobribase::pixelLevels()),
                         [](const auto& level) { return std::string(level.param->name); });

} // namespace

TEST_P(OnEveryLevel, EveryStepEqualsTheReference)
{
    constexpr int sOffsets[] = {0, 5, -5, 70000, -70000, 65535, -65535, -2000000000};
    for (const auto& [width, height] : sSizes)
        for (const EContent content : sContents)
            for (const EContent dark : sContents)
                for (const SSettings& s : sSettings) {
                    if (width * height > 8000 && (content != EContent::Random || dark != EContent::Random))
                        continue; // large frames once are enough
                    Frame frame(width, height, s.keepRows % 2 != 0, content, dark);
                    FrameProcessing& processing = frame.processing;
                    PixelReference& reference = frame.reference;
                    processing.DecodeFrame(&frame.raw[sMargin]);
                    reference.decode(&frame.raw[sMargin]);
                    frame.expectSame();
                    frame.fillPixels(content); // with more than 12 bits
                    if (s.mean >= 0)
                        frame.setMean(s.mean);
                    processing.CalculateFrameLineAverages();
                    reference.lineAverages();
                    frame.expectSame();
                    if (s.lineNoise && s.pedestal != 0)
                        for (int row = 0; row < height; ++row)
                            processing.m_lineAverages[row] = reference.m_lineAverages[row] = sOffsets[row % 8];
                    processing.ApplyNoiseDarkFlatProcessing(s.lineNoise, s.keepRows, s.pedestal, s.flatScale);
                    reference.correct(s.lineNoise, s.keepRows, s.pedestal, s.flatScale);
                    frame.expectSame();
                    ASSERT_FALSE(HasFailure()) << width << " x " << height;
                }
}

TEST_P(OnEveryLevel, PreviewsEqualTheReference)
{
    for (const auto& [width, height] : sPreviewSizes)
        for (const int rawRows : {0, 1, 16, height, height + 5}) {
            Frame frame(width, height, 0, EContent::Random);
            frame.drawText();
            for (const int rawColumns : {0, 3, 8, width, width + 5})
                ASSERT_NO_FATAL_FAILURE(frame.expectSamePreviews(curve, rawRows, rawColumns));
        }
}

// Large frames take their colours from a table of samples, but for rows with more than 12 bits to a pixel.
TEST_P(OnEveryLevel, PreviewsOfLargeFramesOfSamplesEqualTheReference)
{
    for (const auto& [width, height] : {std::pair{521, 509}, {4099, 65}}) {
        Frame frame(width, height, 0, EContent::Random);
        frame.drawText();
        for (size_t i = 0; i < frame.pixels.size(); ++i)
            if (i < frame.pixels.size() / 2 || i % 5000 > 0)
                frame.pixels[i] &= 0xFFF0;
        frame.expectSamePreviews(curve, 1, 1);
        auto greys = curve;
        for (auto& colour : greys) // what the stretch makes goes another way
            colour = (colour & 0xFF) * 0x010101;
        frame.expectSamePreviews(greys, 1, 1);
        greys[123 << 4] ^= 0x100;
        frame.expectSamePreviews(greys, 1, 0);
    }
}

TEST(PcTime, IsDrawnInTheTopLeftCorner)
{
    const std::string text = " PC 20240305 06:07:08.009 ";
    for (const auto& [width, height] : {std::pair{300, 20}, {208, 16}, {100, 20}, {300, 5}, {1, 1}}) {
        Frame frame(width, height, 0, EContent::Sky);
        for (int y = 0; y < std::min(16, height); ++y)
            for (int x = 0; x < std::min(208, width); ++x) {
                const auto code = static_cast<unsigned char>(text[x / 8]);
                const bool isSet = libobribase::getFontSymbol8x16(code, y) >> (7 - x % 8) & 1;
                frame.expected[sMargin + y * width + x] = isSet ? 0xFFFF : 0;
            }
        frame.drawText();
        EXPECT_EQ(frame.pixels, frame.expected);
    }
    std::string two; // upright, and the right way round
    for (int row = 0; row < 16; ++row)
        two += static_cast<char>(libobribase::getFontSymbol8x16('2', row));
    EXPECT_EQ(two, std::string("\0\0\x7C\xC6\x06\x0C\x18\x30\x60\xC0\xC6\xFE\0\0\0\0", 16));
}
