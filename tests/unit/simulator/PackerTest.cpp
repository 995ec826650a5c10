// What the camera sends, judged by the program's own decoder.
#include "Packer.h"
#include "FrameProcessing.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

class Transfer : public testing::TestWithParam<bool> {}; // packed?

std::vector<uint16_t> randomSamples(size_t count)
{
    std::mt19937 random(1240);
    std::vector<uint16_t> samples(count);
    for (auto& sample : samples)
        sample = random() & 0xfff;
    return samples;
}

} // namespace

TEST_P(Transfer, DecodesToTheSamples)
{
    constexpr int width = 264, height = 6;
    const auto samples = randomSamples(width * height);
    std::vector<uint8_t> bytes(size_t{2} * width * height);
    const auto write = GetParam() ? obrisim::packSamples : obrisim::spreadSamples;
    write(samples.data(), width * height, bytes.data());
    std::vector<uint16_t> frame(samples.size()), dark(samples.size()), flat(samples.size());
    libobribase::FrameProcessing decoder(width, height, GetParam(), frame.data(), dark.data(), flat.data());
    decoder.DecodeFrame(bytes.data());
    for (size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(frame[i], samples[i] << 4) << "pixel " << i;
}
INSTANTIATE_TEST_SUITE_P(Packed, Transfer, testing::Bool());

TEST(PixelHash, IsFnv1aOverTheDecodedBytes)
{
    EXPECT_EQ(obrisim::hashPixels(obrisim::sFnvBasis, nullptr, 0), 0xcbf29ce484222325u);
    const uint16_t samples[] = {0x0abc, 0x0fff}; // bytes c0 ab f0 ff
    uint64_t expected = 0xcbf29ce484222325;
    for (const uint8_t byte : {0xc0, 0xab, 0xf0, 0xff})
        expected = (expected ^ byte) * 1099511628211u;
    EXPECT_EQ(obrisim::hashPixels(obrisim::sFnvBasis, samples, 2), expected);
}
