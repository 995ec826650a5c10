#include "lag1_probability_coder.h"

#include "Lag1Reference.h"
#include <gtest/gtest.h>
#include <random>

using libobrifile::ProbabilityCoder;

namespace {

TEST(ProbabilityCoder, NarrowsItsFieldsAsTheNumbersFall)
{
    uint8_t bytes[8];
    std::fill(std::begin(bytes), std::end(bytes), 0xEE);
    ProbabilityCoder writer(bytes, 20);
    for (const unsigned number : {5u, 3u, 1u, 1u})
        writer.WriteSymbol(number);
    // 20 bits for 5, 3 bits for 3, 2 bits for 1, none for the second 1.
    const uint8_t expected[8] = {0x05, 0x00, 0x30 | 0x80, 0x00, 0xEE, 0xEE, 0xEE, 0xEE};
    EXPECT_EQ(writer.GetBytesUsed(), 4u);
    EXPECT_TRUE(std::equal(std::begin(bytes), std::end(bytes), std::begin(expected)));

    ProbabilityCoder reader(bytes, 20);
    for (const unsigned number : {5u, 3u, 1u, 1u, 1u})
        EXPECT_EQ(reader.ReadSymbol(), number);
    EXPECT_EQ(reader.GetBytesUsed(), 4u);
}

TEST(ProbabilityCoder, WritesTheSameBitsAsOneBitAtATime)
{
    std::mt19937 random(20);
    for (int round = 0; round < 300; ++round) {
        std::vector<unsigned> numbers(1 + random() % 60);
        for (unsigned& number : numbers)
            number = 1 + (random() & 0xFFFFF) % (1u << (1 + random() % 20));
        numbers[0] = std::min(numbers[0], 0xFFFFFu);
        std::sort(numbers.rbegin(), numbers.rend());
        numbers[0] = std::min(numbers[0], 0xFFFFFu);

        std::vector<uint8_t> bytes(numbers.size() * 3 + 8, 0xFF), expected = bytes;
        ProbabilityCoder coder(bytes.data(), 20);
        lag1reference::BitCoder plain(expected.data(), 20);
        for (const unsigned number : numbers) {
            coder.WriteSymbol(number);
            plain.write(number);
        }
        ASSERT_EQ(bytes, expected);
        ASSERT_EQ(coder.GetBytesUsed(), plain.bytesUsed());

        ProbabilityCoder reader(std::span<const uint8_t>(bytes.data(), coder.GetBytesUsed()), 20);
        for (const unsigned number : numbers)
            ASSERT_EQ(reader.ReadSymbol(), number);
    }
}

TEST(ProbabilityCoder, ReadsZeroBitsBehindAKnownEnd)
{
    const std::vector<uint8_t> bytes{0xFF, 0xFF}; // on the heap: the address sanitizer sees its end
    ProbabilityCoder coder(std::span<const uint8_t>(bytes), 20);
    EXPECT_EQ(coder.ReadSymbol(), 0xFFFFu);
    EXPECT_EQ(coder.ReadSymbol(), 0u);
    ProbabilityCoder one(std::span<const uint8_t>{}, 1);
    EXPECT_EQ(one.ReadSymbol(), 1u);
    EXPECT_EQ(one.GetBytesUsed(), 0u);
}

} // namespace
