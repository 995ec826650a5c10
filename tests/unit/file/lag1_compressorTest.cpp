#include "lag1_compressor.h"

#include "Lag1Images.h"
#include "Lag1Reference.h"
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

using lag1images::Image;
using lag1reference::EEquals;
using libobrifile::Compressor;
using Bytes = std::vector<uint8_t>;

Bytes compress(Compressor& compressor, Image image)
{
    Bytes block(2 * image.size() + 8, 0xA5); // no byte more: the address sanitizer sees its end
    block.resize(size_t(compressor.CompressData(image.data(), block.data())));
    return block;
}

Bytes compressPlainly(const Image& image, EEquals equals = EEquals::AsLibrary)
{
    lag1reference::Compressor plain(image.size(), equals);
    Bytes block(lag1reference::Compressor::outputBytes(std::max<size_t>(image.size(), 65536)));
    block.resize(plain.compress(image.data(), block.data()));
    return block;
}

std::unique_ptr<Compressor> compressorFor(const Image& image)
{
    return std::make_unique<Compressor>(int(image.size()), 1);
}

Bytes compress(const Image& image)
{
    return compress(*compressorFor(image), image);
}

// Through every entry; a block of exactly its own size, so that the address sanitizer sees its end.
void expectRoundTrip(const Image& image, const Bytes& block)
{
    const auto compressor = compressorFor(image);
    Image back(image.size());
    size_t used = 0;
    ASSERT_TRUE(compressor->TryDecompress(block, back.data(), &used));
    EXPECT_EQ(used, block.size());
    ASSERT_EQ(back, image);
    Bytes followed = block;
    followed.resize(block.size() + 8, 0x77);
    std::fill(back.begin(), back.end(), 0x5A5A);
    compressor->DecompressData(followed.data(), back.data());
    ASSERT_EQ(back, image);
}

using namespace lag1images;
const std::pair<const char*, Image (*)()> sImages[] = {
    {"OneSample", [] { return Image{0x1234}; }},
    {"ThreeEqualSamples", [] { return Image(3, 7); }},
    {"AllZero", [] { return Image(1000); }},
    {"TwoValues", [] { return noise(4096, 2, 40000); }},
    {"RareSecondValue",
     [] {
         Image image(3000000, 16);
         image[77] = 32;
         return image;
     }},
    {"Sky", [] { return sky(176, 128); }},
    {"SkyWithoutLineNoise", [] { return withoutLineNoise(sky(1624, 100), 1624); }},
    {"Gradient", [] { return gradient(640, 480); }},
    {"Flat", [] { return flat(100000); }},
    {"FewValues", [] { return fewValues(99999); }},
    {"Noise", [] { return noise(400000, 65536); }},
    {"NoiseOf12Bits", [] { return noise(200000, 4096, 16); }},
    {"NoiseOf15Bits", [] { return noise(300000, 32768); }},
    {"EveryValueAndAFewOften", [] { return everyValue(700000); }},
    {"EveryValueInAnEvenGround", [] { return everyValue(4000000); }},
};

class Lag1Image : public testing::TestWithParam<std::pair<const char*, Image (*)()>> {};

TEST_P(Lag1Image, CompressesToThePlainCompressorsBytesAndBack)
{
    const Image image = GetParam().second();
    ASSERT_EQ(compress(image), compressPlainly(image));
    for (const EEquals equals : {EEquals::AsLibrary, EEquals::Descending, EEquals::AsSorted})
        expectRoundTrip(image, compressPlainly(image, equals)); // a reader takes equal frequencies in any order
}

INSTANTIATE_TEST_SUITE_P(Kind, Lag1Image, testing::ValuesIn(sImages),
                         [](const auto& kind) { return std::string(kind.param.first); });

// One instance for all frames: tables that keep a trace of an earlier image would show here.
TEST(Compressor, GivesTheSameBytesWhateverItCompressedBefore)
{
    std::mt19937 random(4);
    constexpr size_t samples = 3000;
    const auto compressor = std::make_unique<Compressor>(60, 50);
    for (int round = 0; round < 120; ++round) {
        const unsigned step = 1 + random() % 16;
        Image image = lag1images::noise(samples, 1 + random() % (1u << (1 + random() % 16)), step, random());
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
            const Image image = lag1images::noise(samples, values, 1, random());
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
    // Three of four samples are 0x0102. Frequencies 786432 and 262144, both in 20 bits.
    Image image(16, 0x0102);
    for (const size_t at : {3u, 7u, 11u, 15u})
        image[at] = 0x0304;
    const Bytes values{1, 0, 0x02, 0x01, 0x04, 0x03}, frequencies{0x00, 0x00, 0x0C, 0x00, 0x40};
    Bytes expected = values;
    expected.insert(expected.end(), frequencies.begin(), frequencies.end());
    expected.insert(expected.end(), {0x2D, 0x2F, 0x64, 0x00, 0x00});
    EXPECT_EQ(compress(image), expected);
}

TEST(Compressor, RefusesATableThatDoesNotAddUp)
{
    const Image image = lag1images::noise(500, 2);
    const auto compressor = compressorFor(image);
    Image back(image.size());
    Bytes block = compress(image);
    block.resize(block.size() + 8);
    Bytes wrongSum = block;
    wrongSum[6] ^= 1;
    EXPECT_DEATH(compressor->DecompressData(wrongSum.data(), back.data()), "cp==\\(1<<FRACTIONAL_BITS\\)");
    EXPECT_FALSE(compressor->TryDecompress(wrongSum, back.data()));
}

TEST(Compressor, RefusesABlockCutShortAnywhere)
{
    for (const Image& image : {lag1images::sky(20, 20), lag1images::noise(60, 65536), Image(50, 9), Image(50, 0)}) {
        const auto compressor = compressorFor(image);
        const Bytes block = compress(image);
        Image back(image.size());
        const bool raw = block.size() > 2 * image.size(); // less than its marker is an image of zeros
        for (size_t size = raw ? 8 : 0; size < block.size(); ++size) {
            const Bytes cut(block.begin(), block.begin() + long(size));
            EXPECT_FALSE(compressor->TryDecompress(cut, back.data())) << size << " of " << block.size();
        }
        EXPECT_TRUE(compressor->TryDecompress(block, back.data()));
    }
}

} // namespace
