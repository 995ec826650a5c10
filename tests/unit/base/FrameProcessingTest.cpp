#include "FrameProcessing.h"

#include "BinaryOverlay.h"
#include "CameraStatus.h"
#include "DateTime.h"
#include "Font.h"
#include "PixelKernels.h"
#include "PixelReference.h"

#include <cstddef>

#include "OverlayRow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using libobribase::FrameProcessing;
using libobribase::SPixelKernels;
using libobribase::ZoneMatrix;

/// Runs on every instruction level that this processor has.
class OnEveryLevel : public testing::TestWithParam<const SPixelKernels*> {
protected:
    void SetUp() override { libobribase::choosePixelKernels(*GetParam()); }
    void TearDown() override { libobribase::choosePixelKernels(*libobribase::pixelLevels().back()); }
};

auto everyLevel()
{
    return testing::ValuesIn(libobribase::pixelLevels());
}

std::string levelName(const testing::TestParamInfo<const SPixelKernels*>& info)
{
    return info.param->name;
}

enum class EContent { Random, Sky, Black, White };

/// A buffer of exactly its size that starts at an odd place; the memory around it is watched by guard words.
template <class T>
class Guarded {
public:
    explicit Guarded(size_t count) : m_store(count + 2 * sGuard, sMark), m_count(count) {}
    T* data() { return m_store.data() + sGuard; }
    size_t size() const { return m_count; }
    std::vector<T> copy() { return {data(), data() + m_count}; }
    bool isIntact() const
    {
        const auto marked = [](T value) { return value == sMark; };
        return std::all_of(m_store.begin(), m_store.begin() + sGuard, marked) &&
               std::all_of(m_store.end() - sGuard, m_store.end(), marked);
    }

private:
    static constexpr size_t sGuard = 33;
    static constexpr T sMark = static_cast<T>(0xA55A);
    std::vector<T> m_store;
    size_t m_count;
};

uint16_t skyPixel(std::mt19937& random)
{
    const bool star = random() % 50 == 0;
    return static_cast<uint16_t>(star ? random() : 3000 + random() % 900);
}

void fill(Guarded<uint16_t>& pixels, EContent content, std::mt19937& random)
{
    for (size_t i = 0; i < pixels.size(); ++i) {
        const uint16_t sky = skyPixel(random);
        pixels.data()[i] = content == EContent::Black   ? 0
                           : content == EContent::White ? 65535
                           : content == EContent::Sky   ? sky
                                                        : static_cast<uint16_t>(random());
    }
}

/// One frame's buffers, and the same frame again for the reference.
struct Frame {
    Frame(int w, int h, int isCompressed, EContent content, uint32_t seed)
        : random(seed), width(w), height(h), pixels(area(w, h)), expected(area(w, h)), dark(area(w, h)),
          flat(area(w, h)), raw(isCompressed ? static_cast<size_t>((w + 7) / 8 * 12) * h : area(w, h) * 2),
          processing(w, h, isCompressed, pixels.data(), dark.data(), flat.data()),
          reference(w, h, isCompressed, expected.data(), dark.data(), flat.data())
    {
        fill(pixels, content, random);
        memcpy(expected.data(), pixels.data(), pixels.size() * sizeof(uint16_t));
        fill(dark, EContent::Black, random);
        fill(flat, EContent::Sky, random);
        for (size_t i = 0; i < raw.size(); ++i)
            raw.data()[i] = static_cast<uint8_t>(content == EContent::Black   ? 0
                                                 : content == EContent::White ? 255
                                                 : content == EContent::Sky   ? 0x40 + random() % 4
                                                                              : random());
    }

    static size_t area(int w, int h) { return static_cast<size_t>(w) * static_cast<size_t>(h); }

    void expectSameFrame()
    {
        EXPECT_TRUE(pixels.copy() == expected.copy()) << "pixels differ, " << width << " x " << height;
        EXPECT_TRUE(pixels.isIntact());
    }

    std::mt19937 random;
    int width, height;
    Guarded<uint16_t> pixels, expected, dark, flat;
    Guarded<uint8_t> raw;
    FrameProcessing processing;
    PixelReference reference;
};

// Odd widths, widths around a register, one row, the two smallest with a mean, the camera's own, the tallest.
constexpr std::array<std::array<int, 2>, 19> sSizes{{{1, 1},
                                                     {7, 3},
                                                     {8, 1},
                                                     {9, 40},
                                                     {15, 2},
                                                     {17, 5},
                                                     {31, 36},
                                                     {33, 35},
                                                     {176, 128},
                                                     {204, 40},
                                                     {205, 35},
                                                     {211, 36},
                                                     {213, 50},
                                                     {227, 35},
                                                     {400, 34},
                                                     {816, 36},
                                                     {1624, 40},
                                                     {3, 4096},
                                                     {219, 4096}}};
constexpr EContent sContents[] = {EContent::Random, EContent::Sky, EContent::Black, EContent::White};

class Decoding : public OnEveryLevel {};
INSTANTIATE_TEST_SUITE_P(Level, Decoding, everyLevel(), levelName);

TEST_P(Decoding, EqualsTheReference)
{
    for (const auto [width, height] : sSizes)
        for (const EContent content : sContents)
            for (const int isCompressed : {0, 1}) {
                Frame frame(width, height, isCompressed, content, 1);
                frame.processing.DecodeFrame(frame.raw.data());
                frame.reference.decode(frame.raw.data());
                frame.expectSameFrame();
                EXPECT_EQ(frame.processing.m_meanValid, frame.reference.m_meanValid);
                EXPECT_EQ(frame.processing.m_mean, frame.reference.m_mean) << width << " x " << height;
                EXPECT_EQ(frame.processing.m_lowerBound, frame.reference.m_lowerBound);
                EXPECT_EQ(frame.processing.m_upperBound, frame.reference.m_upperBound);
            }
}

TEST_P(Decoding, TakesSamplesApartAsTheCameraPacksThem)
{
    uint16_t pixels[8], zeros[8] = {};
    const uint8_t word[16] = {0xBC, 0xFA}; // the high nibble is nobody's
    FrameProcessing(8, 1, 0, pixels, zeros, zeros).DecodeFrame(word);
    EXPECT_THAT(pixels, testing::ElementsAre(0xBCA0, 0, 0, 0, 0, 0, 0, 0));

    const uint8_t group[12] = {0x31, 0x12, 0x42, 0x23, 0x55, 0x34, 0x66, 0x45, 0x77, 0x56, 0x88, 0x67};
    FrameProcessing(8, 1, 1, pixels, zeros, zeros).DecodeFrame(group);
    EXPECT_THAT(pixels, testing::ElementsAre(0x1230, 0x2340, 0x3410, 0x4520, 0x5550, 0x6660, 0x6770, 0x7880));
}

TEST_P(Decoding, MeasuresTheMeanInTheMiddleOnly)
{
    // Only the pixel given is not zero; the sum of a region of 1080 x 30 pixels is its value.
    const auto meanWith = [](int x, int y) {
        Frame frame(1280, 64, 0, EContent::Black, 1);
        uint8_t* raw = frame.raw.data();
        std::fill(raw + (y * 1280 + x) * 2, raw + (y * 1280 + x) * 2 + 2, uint8_t{0xFF}); // 0xFFF0
        frame.processing.DecodeFrame(raw);
        EXPECT_TRUE(frame.processing.m_meanValid);
        return frame.processing.m_mean;
    };
    EXPECT_EQ(meanWith(104, 16), 0xFFF0u / (1080 * 30));
    EXPECT_EQ(meanWith(1183, 45), 0xFFF0u / (1080 * 30));
    for (const auto [x, y] : {std::array{103, 30}, {1184, 30}, {600, 15}, {600, 46}})
        EXPECT_EQ(meanWith(x, y), 0u) << x << ", " << y;
}

class LineNoise : public OnEveryLevel {};
INSTANTIATE_TEST_SUITE_P(Level, LineNoise, everyLevel(), levelName);

TEST_P(LineNoise, EqualsTheReference)
{
    for (const auto [width, height] : sSizes)
        for (const EContent content : sContents)
            for (const int mean : {0, 1000, 3400, 65535}) {
                Frame frame(width, height, 0, content, 2);
                auto& processing = frame.processing;
                processing.m_meanValid = frame.reference.m_meanValid = 1;
                processing.m_mean = frame.reference.m_mean = static_cast<uint32_t>(mean);
                frame.reference.m_lowerBound = std::max(mean - 1024, 0);
                frame.reference.m_upperBound = std::min(mean + 1024, 65535);
                processing.m_lowerBound = static_cast<uint16_t>(frame.reference.m_lowerBound);
                processing.m_upperBound = static_cast<uint16_t>(frame.reference.m_upperBound);
                processing.CalculateFrameLineAverages();
                frame.reference.lineAverages();
                EXPECT_TRUE(std::equal(frame.reference.m_lineAverages.begin(), frame.reference.m_lineAverages.end(),
                                       processing.m_lineAverages))
                    << width << " x " << height << ", mean " << mean;
            }
}

TEST_P(LineNoise, RowsWithTooFewPixelsNearTheMeanCountAsTheMean)
{
    // In two rows of 60 pixels all differ from the mean but 9 in the one and 10 in the other.
    Frame frame(60, 2, 0, EContent::White, 3);
    std::fill_n(frame.pixels.data() + 30, 9, uint16_t{4100});
    std::fill_n(frame.pixels.data() + 60 + 30, 10, uint16_t{4100});
    frame.processing.m_meanValid = 1;
    frame.processing.m_mean = 4000;
    frame.processing.m_lowerBound = 2976;
    frame.processing.m_upperBound = 5024;
    frame.processing.CalculateFrameLineAverages();
    EXPECT_EQ(frame.processing.m_lineAverages[0], 4000 - 4050);
    EXPECT_EQ(frame.processing.m_lineAverages[1], 4100 - 4050);

    frame.processing.m_meanValid = 0;
    frame.processing.CalculateFrameLineAverages();
    EXPECT_THAT(frame.processing.m_lineAverages, testing::Each(0));
}

class Correction : public OnEveryLevel {};
INSTANTIATE_TEST_SUITE_P(Level, Correction, everyLevel(), levelName);

TEST_P(Correction, EqualsTheReference)
{
    constexpr EContent sDarks[] = {EContent::Black, EContent::Sky, EContent::Random, EContent::White};
    constexpr std::array<std::array<int, 2>, 8> sLevels{
        {{0, 0}, {1, 0}, {200, 0}, {65535, 0}, {0, 1}, {100, 20000}, {0, 65535}, {65535, 65535}}};
    for (const auto [width, height] : sSizes)
        for (const EContent content : sContents)
            for (const EContent dark : sDarks)
                for (const auto [pedestal, flatScale] : sLevels) {
                    if (width * height > 8000 && (content != EContent::Random || dark != EContent::Random))
                        continue; // large frames once are enough
                    Frame frame(width, height, 0, content, 4);
                    fill(frame.dark, dark, frame.random);
                    fill(frame.flat, pedestal == 0 ? EContent::Random : EContent::Sky, frame.random);
                    frame.flat.data()[frame.flat.size() / 2] = 0;
                    constexpr int sOffsets[] = {0, 5, -5, 70000, -70000, 65535, -65535, -2000000000};
                    for (int row = 0; row < height; ++row)
                        frame.processing.m_lineAverages[row] = frame.reference.m_lineAverages[row] = sOffsets[row % 8];
                    const int lineNoise = frame.random() % 4 != 0;
                    const int keepRows = static_cast<int>(frame.random() % 20);
                    const auto p = static_cast<uint16_t>(pedestal), f = static_cast<uint16_t>(flatScale);
                    frame.processing.ApplyNoiseDarkFlatProcessing(lineNoise, keepRows, p, f);
                    frame.reference.correct(lineNoise, keepRows, p, f);
                    frame.expectSameFrame();
                }
}

TEST_P(Correction, KeepsTheRowsAtTheBottom)
{
    for (const int keepRows : {-3, 0, 1, 16, 38, 39, 40, 41, 1000}) {
        Frame frame(20, 40, 0, EContent::Sky, 5);
        std::fill_n(frame.processing.m_lineAverages, 40, 1);
        const auto before = frame.pixels.copy();
        frame.processing.ApplyNoiseDarkFlatProcessing(1, keepRows, 0, 0);
        for (int row = 0; row < 40; ++row)
            EXPECT_EQ(before[row * 20] - frame.pixels.data()[row * 20], row < 39 - keepRows ? 1 : 0)
                << "row " << row << ", keeping " << keepRows;
    }
}

TEST_P(Correction, SaturatesAndWrapsAsItMust)
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

class PcTime : public OnEveryLevel {};
INSTANTIATE_TEST_SUITE_P(Level, PcTime, everyLevel(), levelName);

TEST_P(PcTime, IsDrawnInTheTopLeftCorner)
{
    const libobribase::DateTime time{2024, 3, 5, 6, 7, 8, 9};
    const std::string text = " PC 20240305 06:07:08.009 ";
    for (const auto [width, height] : {std::array{300, 20}, {208, 16}, {100, 20}, {300, 5}, {1, 1}}) {
        Frame frame(width, height, 0, EContent::Sky, 6);
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
        EXPECT_EQ(frame.processing.m_textWidth, 208);
        EXPECT_EQ(frame.processing.m_textHeight, 16);
    }
}

TEST(FrameOverlay, IsReadFromTheLastRowAndTellsTheStatus)
{
    Frame frame(200, 3, 0, EContent::Sky, 7);
    std::copy_n(OverlayRow().row(), 128, frame.pixels.data() + 400);
    libobribase::BinaryOverlay overlay;
    libobribase::CameraStatus status;
    frame.processing.UpdateBinaryOverlay(&overlay);
    frame.processing.UpdateCameraStatus(&overlay, &status);
    EXPECT_TRUE(overlay.m_isValid);
    EXPECT_EQ(overlay.m_frameId, 0x01020304u);
    EXPECT_EQ(status.m_systemTime.year, 2024);
    EXPECT_EQ(status.m_systemTime.milliseconds, 250);
    EXPECT_EQ(status.m_updateCount, 1);

    Frame narrow(100, 1, 0, EContent::Random, 8); // nothing to read behind the row
    narrow.processing.UpdateBinaryOverlay(&overlay);
    EXPECT_FALSE(overlay.m_isValid);
}

} // namespace
