#include "lag1_frequency_table.h"

#include "lag1_compressor.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

namespace libobrifile {

namespace {

constexpr int64_t sScale = int64_t{1} << FRACTIONAL_BITS;

int64_t sumOf(std::span<const DecoderPair> table)
{
    int64_t sum = 0;
    for (const DecoderPair& entry : table)
        sum += entry.cprobability;
    return sum;
}

// Below this, shifting entries about is faster than two passes over the radix counters.
constexpr size_t sInsertionSortMax = 48;

void insertionSort(std::span<DecoderPair> table)
{
    for (size_t i = 1; i < table.size(); ++i) {
        const DecoderPair entry = table[i];
        size_t at = i;
        for (; at > 0 && compare(entry, table[at - 1]); --at)
            table[at] = table[at - 1];
        table[at] = entry;
    }
}

// Two digits hold every frequency, the full scale of 2^20 included.
constexpr int sDigitBits = 11;
constexpr uint32_t sDigits = 1u << sDigitBits;
static_assert(2 * sDigitBits > FRACTIONAL_BITS);

// Counts from the largest digit down, so that large frequencies come first.
uint32_t bucketOf(const DecoderPair& entry, int pass)
{
    return sDigits - 1 - ((static_cast<uint32_t>(entry.cprobability) >> (pass * sDigitBits)) & (sDigits - 1));
}

void radixPass(std::span<const DecoderPair> from, std::span<DecoderPair> to, int pass)
{
    std::array<uint32_t, sDigits> next{};
    for (const DecoderPair& entry : from)
        ++next[bucketOf(entry, pass)];
    uint32_t position = 0;
    for (uint32_t& bucket : next)
        position += std::exchange(bucket, position);
    for (const DecoderPair& entry : from)
        to[next[bucketOf(entry, pass)]++] = entry;
}

// Large frequencies first, round and round until nothing is missing.
void spread(std::span<DecoderPair> table, int64_t missing)
{
    for (size_t i = 0; missing > 0; i = i + 1 < table.size() ? i + 1 : 0, --missing)
        ++table[i].cprobability;
}

// Rare values first, rounds of one each; a value that has come down to 1 gives no more.
void takeBack(std::span<DecoderPair> table, int64_t excess)
{
    size_t rarest = table.size();
    while (excess > 0) {
        while (table[rarest - 1].cprobability == 1)
            --rarest;
        for (size_t i = rarest; i > 0 && excess > 0; --i, --excess)
            --table[i - 1].cprobability;
    }
}

} // namespace

void scaleCounts(std::span<DecoderPair> table, int total)
{
    for (DecoderPair& entry : table) {
        const auto scaled = static_cast<int>(entry.cprobability * static_cast<double>(sScale) / total + 0.5);
        entry.cprobability = std::max(scaled, 1);
    }
}

void sortByFrequency(std::span<DecoderPair> table, std::span<DecoderPair> buffer)
{
    if (table.size() <= sInsertionSortMax)
        return insertionSort(table);
    buffer = buffer.first(table.size());
    radixPass(table, buffer, 0);
    radixPass(buffer, table, 1);
}

void correctSum(std::span<DecoderPair> table)
{
    const int64_t sum = sumOf(table);
    if (sum <= sScale)
        spread(table, sScale - sum);
    else
        takeBack(table, sum - sScale);
}

double entropyBits(std::span<const DecoderPair> table, int total)
{
    // n log n - sum(c log c); the terms are exact to some 1e-16 of the whole each.
    const double whole = total * std::log2(total);
    double parts = 0;
    for (const DecoderPair& entry : table)
        parts += entry.cprobability * std::log2(entry.cprobability);
    return (whole - parts) - whole * 1e-10;
}

} // namespace libobrifile
