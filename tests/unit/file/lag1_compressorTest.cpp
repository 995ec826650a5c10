#include "lag1_compressor.h"

#include "Lag1Images.h"
#include "Lag1Reference.h"
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

using lag1images::Image;
using lag1images::noise;
using lag1reference::EEquals;
using libobrifile::Compressor;
using Bytes = std::vector<uint8_t>;

std::unique_ptr<Compressor> compressorFor(const Image& image)
{
    return std::make_unique<Compressor>(int(image.size()), 1);
}

Bytes compress(Compressor& compressor, Image image)
{
    Bytes block(2 * image.size() + 8, 0xA5); // no byte more: the address sanitizer sees its end
    block.resize(size_t(compressor.CompressData(image.data(), block.data())));
    return block;
}
Bytes compress(const Image& image)
{
    return compress(*compressorFor(image), image);
}

Bytes compressPlainly(const Image& image, EEquals equals = EEquals::AsLibrary)
{
    lag1reference::Compressor plain(image.size(), equals);
    Bytes block(lag1reference::Compressor::outputBytes(std::max<size_t>(image.size(), 65536)));
    block.resize(plain.compress(image.data(), block.data()));
    return block;
}

// So many values once, and behind them some much more often.
Image rareValues(size_t samples, size_t rare, unsigned often)
{
    Image image = noise(samples, often);
    for (size_t i = 0; i < rare; ++i)
        image[i] = static_cast<uint16_t>((i + 1) * 40503);
    return image;
}

const std::pair<const char*, Image (*)()> sImages[] = {
    {"OneSample", [] { return Image{0x1234}; }},
    {"AllZero", [] { return Image(1000); }},
    {"TwoValues", [] { return noise(4096, 2, 40000); }},
    {"RareSecondValue", [] { return rareValues(3000000, 1, 1); }},
    {"Noise", [] { return noise(400000, 65536); }},
    {"NoiseOf12Bits", [] { return noise(200000, 4096, 16); }},
    {"NoiseOf15Bits", [] { return noise(300000, 32768); }},
    {"EveryValueAndAFewOften", [] { return rareValues(700000, 65536, 50); }},
    {"EveryValueInAnEvenGround", [] { return rareValues(4000000, 65536, 50); }},
};

class Lag1Image : public testing::TestWithParam<std::pair<const char*, Image (*)()>> {};
INSTANTIATE_TEST_SUITE_P(Kind, Lag1Image, testing::ValuesIn(sImages),
                         [](const auto& kind) { return std::string(kind.param.first); });

TEST_P(Lag1Image, CompressesToThePlainCompressorsBytesAndBack)
{
    const Image image = GetParam().second();
    ASSERT_EQ(compress(image), compressPlainly(image));
    const auto compressor = compressorFor(image);
    for (const EEquals equals : {EEquals::AsLibrary, EEquals::Descending, EEquals::AsSorted}) {
        Bytes block = compressPlainly(image, equals); // a reader takes equal frequencies in any order
        Image back(image.size()), again(image.size());
        size_t used = 0;
        ASSERT_TRUE(compressor->TryDecompress(block, back.data(), &used));
        ASSERT_EQ(used, block.size());
        ASSERT_EQ(back, image);
        block.resize(used + 8, 0x77);
        compressor->DecompressData(block.data(), again.data());
        ASSERT_EQ(again, image);
    }
}

// One instance for all frames: tables that keep a trace of an earlier image would show here.
TEST(Compressor, GivesTheSameBytesWhateverItCompressedBefore)
{
    std::mt19937 random(4);
    constexpr size_t samples = 3000;
    const auto compressor = std::make_unique<Compressor>(60, 50);
    for (int round = 0; round < 120; ++round) {
        const unsigned step = 1 + random() % 16;
        Image image = noise(samples, 1 + random() % (1u << (1 + random() % 16)), step, random());
        for (size_t i = 0; i < samples / 2 && round % 3; ++i) // half of it even
            image[random() % samples] = image[0];
        const Bytes block = compress(*compressor, image);
        ASSERT_EQ(block, compressPlainly(image)) << "round " << round;
        Image back(samples);
        ASSERT_TRUE(compressor->TryDecompress(block, back.data()));
        ASSERT_EQ(back, image);
    }
}

// Around the size where a code stops paying, early decisions must agree with the full procedure.
TEST(Compressor, StoresRawExactlyWhenTheCodeIsNotSmaller)
{
    std::mt19937 random(2);
    int raw = 0, rounds = 0;
    for (unsigned values = 1; values < 300; values += 1 + values / 30)
        for (int near = -3; near <= 3; ++near, ++rounds) {
            const size_t samples = values * size_t(27 + near * 3) / 10 + random() % 7 + 1;
            const Image image = noise(samples, values, 1, random());
            const Bytes block = compress(image);
            ASSERT_EQ(block, compressPlainly(image)) << samples << " samples of " << values << " values";
            raw += block.size() == 2 * samples + 8;
        }
    EXPECT_GT(raw, rounds / 10);
    EXPECT_LT(raw, rounds * 9 / 10);
}

TEST(Compressor, WritesTheseBytes)
{
    EXPECT_EQ(compress(Image(100, 0xBEEF)), Bytes({0, 0, 0xEF, 0xBE}));
    EXPECT_EQ(compress(Image(100, 0)), Bytes({0, 0, 0, 0}));
    EXPECT_EQ(compress({1, 2}), Bytes({0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2, 0}));
    Image image(16, 0x0102);
    for (const size_t at : {3u, 7u, 11u, 15u})
        image[at] = 0x0304;
    // The values, their frequencies 786432 and 262144 of 20 bits each, the code.
    EXPECT_EQ(compress(image),
              Bytes({1, 0, 0x02, 0x01, 0x04, 0x03, 0x00, 0x00, 0x0C, 0x00, 0x40, 0x2D, 0x2F, 0x64, 0x00, 0x00}));
}

TEST(Compressor, RefusesABlockCutShortAnywhereAndATableThatDoesNotAddUp)
{
    for (const Image& image : {noise(400, 40), noise(60, 65536), Image(50, 9), Image(50, 0)}) {
        const auto compressor = compressorFor(image);
        const Bytes block = compress(*compressor, image);
        Image back(image.size());
        const bool raw = block.size() > 2 * image.size(); // less than its marker is an image of zeros
        for (size_t size = raw ? 8 : 0; size < block.size(); ++size) {
            const Bytes cut(block.begin(), block.begin() + long(size));
            EXPECT_FALSE(compressor->TryDecompress(cut, back.data())) << size << " of " << block.size();
        }
    }
    const Image image = noise(500, 2);
    Image back(image.size());
    Bytes wrongSum = compress(image);
    wrongSum.resize(wrongSum.size() + 8);
    wrongSum[6] ^= 1;
    EXPECT_DEATH(compressorFor(image)->DecompressData(wrongSum.data(), back.data()), "cp==\\(1<<FRACTIONAL_BITS\\)");
    EXPECT_FALSE(compressorFor(image)->TryDecompress(wrongSum, back.data()));
}

} // namespace
