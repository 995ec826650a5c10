#include "lag1_probability_coder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

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
