#include "FrameProcessing.h"

#include "DateTime.h"
#include "Font.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <gmock/gmock.h>
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

/// A buffer of exactly its size that starts at an odd place; the memory around it is watched by guard words.
template <class T>
class Guarded {
public:
    explicit Guarded(size_t count) : m_store(count + 2 * sGuard, sMark) {}
    T* data() { return m_store.data() + sGuard; }
    size_t size() const { return m_store.size() - 2 * sGuard; }
    std::vector<T> copy() { return {data(), data() + size()}; }
    bool isIntact() const
    {
        const std::vector<T> guard(sGuard, sMark);
        return std::equal(guard.begin(), guard.end(), m_store.begin()) &&
               std::equal(guard.begin(), guard.end(), m_store.end() - sGuard);
    }
    void fill(EContent content, std::mt19937& random)
    {
        const T black = 0, white = static_cast<T>(-1);
        for (T* p = data(); p < data() + size(); ++p) {
            const bool isDarkSky = content == EContent::Sky && random() % 50 > 0;
            const auto level = static_cast<T>(isDarkSky ? 3000 + random() % 900 : random());
            *p = content == EContent::Black ? black : content == EContent::White ? white : level;
        }
    }

private:
    static constexpr size_t sGuard = 33;
    static constexpr T sMark = static_cast<T>(0xA55A);
    std::vector<T> m_store;
};

/// One frame's buffers, and the same frame again for the reference.
struct Frame {
    Frame(int w, int h, int isCompressed, EContent content, EContent darkContent = EContent::Black)
        : pixels(area(w, h)), expected(area(w, h)), dark(area(w, h)), flat(area(w, h)),
          raw(isCompressed ? area((w + 7) / 8 * 12, h) : area(w, h) * 2),
          processing(w, h, isCompressed, pixels.data(), dark.data(), flat.data()),
          reference(w, h, isCompressed, expected.data(), dark.data(), flat.data())
    {
        fillPixels(content);
        dark.fill(darkContent, random);
        flat.fill(EContent::Sky, random);
        flat.data()[flat.size() / 2] = 0;
        raw.fill(content, random);
    }

    static size_t area(int w, int h) { return static_cast<size_t>(w) * static_cast<size_t>(h); }

    void fillPixels(EContent content)
    {
        pixels.fill(content, random);
        std::copy_n(pixels.data(), pixels.size(), expected.data());
    }
    void expectSame()
    {
        EXPECT_TRUE(pixels.copy() == expected.copy());
        EXPECT_TRUE(pixels.isIntact());
        EXPECT_EQ(processing.m_meanValid, reference.m_meanValid);
        EXPECT_EQ(processing.m_mean, reference.m_mean);
        EXPECT_EQ(processing.m_lowerBound, reference.m_lowerBound);
        EXPECT_EQ(processing.m_upperBound, reference.m_upperBound);
        EXPECT_TRUE(
            std::equal(reference.m_lineAverages.begin(), reference.m_lineAverages.end(), processing.m_lineAverages));
    }
    void setMean(int mean)
    {
        processing.m_meanValid = reference.m_meanValid = 1;
        processing.m_mean = reference.m_mean = static_cast<uint32_t>(mean);
        reference.m_lowerBound = std::max(mean - 1024, 0);
        reference.m_upperBound = std::min(mean + 1024, 65535);
        processing.m_lowerBound = static_cast<uint16_t>(reference.m_lowerBound);
        processing.m_upperBound = static_cast<uint16_t>(reference.m_upperBound);
    }

    std::mt19937 random{4};
    Guarded<uint16_t> pixels, expected, dark, flat;
    Guarded<uint8_t> raw;
    FrameProcessing processing;
    PixelReference reference;
};

// Odd widths, widths around a register, one row, the two smallest with a mean, the camera's own, the tallest.
constexpr int sSizes[][2] = {{1, 1},     {7, 3},    {8, 1},    {9, 40},   {17, 5},    {31, 36},  {33, 35},
                             {176, 128}, {205, 35}, {213, 50}, {227, 35}, {1624, 40}, {3, 4096}, {219, 4096}};

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
    void SetUp() override { libobribase::choosePixelKernels(*GetParam()); }
    void TearDown() override { libobribase::choosePixelKernels(*libobribase::pixelLevels().back()); }
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
                    processing.DecodeFrame(frame.raw.data());
                    reference.decode(frame.raw.data());
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

TEST_P(OnEveryLevel, SamplesAreTakenApartAsTheCameraPacksThem)
{
    uint16_t pixels[8], zeros[8] = {};
    const uint8_t word[16] = {0xBC, 0xFA}; // the high nibble is nobody's
    FrameProcessing(8, 1, 0, pixels, zeros, zeros).DecodeFrame(word);
    EXPECT_THAT(pixels, testing::ElementsAre(0xBCA0, 0, 0, 0, 0, 0, 0, 0));

    const uint8_t group[12] = {0x31, 0x12, 0x42, 0x23, 0x55, 0x34, 0x66, 0x45, 0x77, 0x56, 0x88, 0x67};
    FrameProcessing(8, 1, 1, pixels, zeros, zeros).DecodeFrame(group);
    EXPECT_THAT(pixels, testing::ElementsAre(0x1230, 0x2340, 0x3410, 0x4520, 0x5550, 0x6660, 0x6770, 0x7880));
}

TEST_P(OnEveryLevel, RowsWithTooFewPixelsNearTheMeanCountAsTheMean)
{
    // In two rows of 60 pixels all differ from the mean but 9 in the one and 10 in the other.
    Frame frame(60, 2, 0, EContent::White);
    std::fill_n(frame.pixels.data() + 30, 9, uint16_t{4100});
    std::fill_n(frame.pixels.data() + 60 + 30, 10, uint16_t{4100});
    frame.setMean(4000);
    frame.processing.CalculateFrameLineAverages();
    EXPECT_EQ(frame.processing.m_lineAverages[0], 4000 - 4050);
    EXPECT_EQ(frame.processing.m_lineAverages[1], 4100 - 4050);

    frame.processing.m_meanValid = 0;
    frame.processing.CalculateFrameLineAverages();
    EXPECT_THAT(frame.processing.m_lineAverages, testing::Each(0));
}

TEST_P(OnEveryLevel, CorrectionSaturatesAndWrapsAsItMust)
{
    const auto corrected = [](uint16_t pixel, uint16_t dark, uint16_t pedestal, uint16_t flat, uint16_t scale) {
        std::vector<uint16_t> pixels(40, pixel), darks(40, dark), flats(40, flat);
        FrameProcessing(40, 1, 0, pixels.data(), darks.data(), flats.data())
            .ApplyNoiseDarkFlatProcessing(0, 0, pedestal, scale);
        EXPECT_THAT(pixels, testing::Each(pixels[0]));
        return pixels[0];
    };
    EXPECT_EQ(corrected(100, 110, 10, 1, 0), 0);
    EXPECT_EQ(corrected(65530, 40000, 10, 1, 0), 65535);
    EXPECT_EQ(corrected(65525, 5, 10, 1, 0), 65530);
    EXPECT_EQ(corrected(500, 0, 0, 0, 1000), 65535);
    EXPECT_EQ(corrected(500, 0, 0, 250, 1000), 2000);
    EXPECT_EQ(corrected(60000, 0, 0, 1, 2), 54464);      // 120000 keeps its low 16 bits
    EXPECT_EQ(corrected(65535, 0, 0, 3, 65535), 21846);  // -131071 / 3
    EXPECT_EQ(corrected(32768, 0, 0, 1, 65535), 0x8000); // 0x7FFF8000, the largest product that does not wrap
}

TEST(PcTime, IsDrawnInTheTopLeftCorner)
{
    const libobribase::DateTime time{2024, 3, 5, 6, 7, 8, 9};
    const std::string text = " PC 20240305 06:07:08.009 ";
    for (const auto& [width, height] : {std::pair{300, 20}, {208, 16}, {100, 20}, {300, 5}, {1, 1}}) {
        Frame frame(width, height, 0, EContent::Sky);
        auto expected = frame.pixels.copy();
        for (int y = 0; y < std::min(16, height); ++y)
            for (int x = 0; x < std::min(208, width); ++x) {
                const auto code = static_cast<unsigned char>(text[x / 8]);
                const bool isSet = libobribase::getFontSymbol8x16(code, y) >> (7 - x % 8) & 1;
                expected[y * width + x] = isSet ? 0xFFFF : 0;
            }
        frame.processing.ApplyPcTimeOverlay(&time);
        EXPECT_EQ(frame.pixels.copy(), expected);
        EXPECT_TRUE(frame.pixels.isIntact());
    }
}
