#include "lag1_range_coder.h"

#include "Lag1Reference.h"
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace libobrifile;
using Bytes = std::vector<uint8_t>;

// The tables of a static model: sample value i has the i-th of some random widths.
struct SModel {
    explicit SModel(std::mt19937& random)
    {
        std::vector<int> widths(2 + random() % 400, 1);
        int left = (1 << FRACTIONAL_BITS) - int(widths.size()), start = 0;
        for (int& width : widths) {
            const int extra = int(random() % unsigned(left + 1)) >> random() % 12;
            width += extra;
            left -= extra;
        }
        widths[random() % widths.size()] += left;
        for (const int width : widths) {
            encoder[decoder.size()] = {width, start};
            decoder.push_back({int(decoder.size()), start});
            start += width;
        }
        decoder.push_back({0, start});
    }

    Bytes compressPlainly(const std::vector<uint16_t>& samples) const
    {
        Bytes code(samples.size() * 3 + 4);
        code.resize(lag1reference::rangeCompress(samples.data(), code.data(), samples.size(), encoder.data()));
        return code;
    }

    std::vector<EncoderPair> encoder = std::vector<EncoderPair>(65536);
    std::vector<DecoderPair> decoder;
};

// Samples that creep up to a point from below leave a long run of bytes 255; a last one beyond the
// point sends a carry through all of it, far further than any register reaches.
TEST(RangeCoder, CarriesThroughLongRunsOf255)
{
    std::mt19937 random(255);
    int carries = 0;
    for (int round = 0; round < 600; ++round) {
        SModel model(random);
        Bytes point(1 + random() % 40);
        point[0] = uint8_t(random() % 128);
        point[random() % point.size()] |= 1;
        point.resize(400);
        std::vector<uint16_t> samples(5 + random() % 100);
        RangeDecompress(std::span<const uint8_t>(point), samples, model.decoder.data());
        const Bytes before = model.compressPlainly(samples);
        samples.insert(samples.end(), 3, uint16_t(model.decoder.size() - 2)); // the last slice: upwards
        Bytes code(samples.size() * 3 + 4);
        code.resize(size_t(RangeCompress(samples.data(), code.data(), int(samples.size()), model.encoder.data())));
        ASSERT_EQ(code, model.compressPlainly(samples)) << "round " << round;
        std::vector<uint16_t> back(samples.size());
        size_t used = 0;
        ASSERT_TRUE(RangeDecompress(std::span<const uint8_t>(code), back, model.decoder.data(), &used));
        ASSERT_EQ(back, samples);
        ASSERT_EQ(used, code.size());
        const auto changed = std::mismatch(before.begin(), before.end(), code.begin(), code.end()).first;
        carries += before.end() - changed > 12;
    }
    EXPECT_GT(carries, 100) << "the test no longer reaches what it is for";
}

} // namespace
