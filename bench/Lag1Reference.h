#pragma once

#include "lag1_range_coder.h"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

// The compressed form written down step by step, one bit, one byte and one sample at a time: slow on
// purpose. Tests compare the library with it, benchmarks take it as the plain compressor.
namespace lag1reference {

using libobrifile::DecoderPair;
using libobrifile::EncoderPair;

class BitCoder {
public:
    BitCoder(uint8_t* bytes, int bits) : m_bytes(bytes), m_highest(1u << (bits - 1)) {}

    void write(unsigned symbol)
    {
        unsigned highest = 0;
        if (m_highest <= 1)
            return;
        for (unsigned bit = 1; bit <= m_highest; bit *= 2, ++m_position) {
            uint8_t& byte = m_bytes[m_position / 8];
            if (m_position % 8 == 0)
                byte = 0;
            if (symbol & bit) {
                byte = static_cast<uint8_t>(byte | 1 << m_position % 8);
                highest = bit;
            }
        }
        m_highest = highest;
    }

    unsigned read()
    {
        if (m_highest < 2)
            return 1;
        unsigned symbol = 0, highest = 0;
        for (unsigned bit = 1; bit <= m_highest; bit *= 2, ++m_position)
            if (m_bytes[m_position / 8] >> m_position % 8 & 1)
                symbol += highest = bit;
        m_highest = highest;
        return symbol;
    }

    size_t bytesUsed() const { return (m_position + 7) / 8; }

private:
    uint8_t* m_bytes;
    unsigned m_highest;
    size_t m_position = 0;
};

inline void carryInto(uint8_t* last)
{
    while (*last == 255)
        *last-- = 0;
    ++*last;
}

inline size_t rangeCompress(const uint16_t* src, uint8_t* dest, size_t length, const EncoderPair* table)
{
    uint8_t* out = dest;
    uint32_t low = 0, range = 0x80000000;
    for (size_t i = 0; i < length; ++i) {
        const uint32_t r = range >> 20;
        low += static_cast<uint32_t>(table[src[i]].cprobability) * r;
        range = r * static_cast<uint32_t>(table[src[i]].probability);
        if (range <= 0x800000) {
            if (low & 0x80000000)
                carryInto(out - 1);
            while (range <= 0x800000) {
                range <<= 8;
                *out++ = static_cast<uint8_t>(low >> 23);
                low = (low << 8) & 0x7FFFFFFF;
            }
        }
    }
    if (low & 0x80000000)
        carryInto(out - 1);
    for (const uint32_t part : {low >> 23, low >> 15, low >> 7, low << 1})
        *out++ = static_cast<uint8_t>(part);
    unsigned carried = 0;
    for (uint8_t* byte = dest; byte != out; ++byte) {
        const unsigned whole = *byte + carried;
        carried = (*byte & 1u) << 8;
        *byte = static_cast<uint8_t>(whole >> 1);
    }
    return static_cast<size_t>(out - dest);
}

inline void rangeDecompress(const uint8_t* code, uint16_t* dest, size_t length, const DecoderPair* table)
{
    uint32_t range = 0x80000000, value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | *code++;
    for (size_t i = 0; i < length; ++i) {
        for (; range <= 0x800000; range <<= 8)
            value = (value << 8) + *code++;
        const uint32_t r = range >> 20;
        size_t x = 0;
        while (value >= static_cast<uint32_t>(table[x + 1].cprobability) * r)
            ++x;
        value -= static_cast<uint32_t>(table[x].cprobability) * r;
        range = r * static_cast<uint32_t>(table[x + 1].cprobability - table[x].cprobability);
        dest[i] = static_cast<uint16_t>(table[x].decoded_value);
    }
}

inline bool moreFrequent(const DecoderPair& a, const DecoderPair& b)
{
    return a.cprobability > b.cprobability;
}

// How entries of equal frequency are ordered: as the library does (by the lowest four bits, then
// ascending), or otherwise. A decoder accepts any order.
enum class EEquals { AsLibrary, Descending, AsSorted };

class Compressor {
public:
    explicit Compressor(size_t samples, EEquals equals = EEquals::AsLibrary) : m_samples(samples), m_equals(equals) {}

    static size_t outputBytes(size_t samples) { return 9 * samples + 64; }

    size_t compress(const uint16_t* image, uint8_t* out)
    {
        prepareTables(image);
        size_t size = storeTable(out);
        if (m_entries > 1)
            size += rangeCompress(image, out + size, m_samples, m_encoder.data());
        if (size < 2 * m_samples)
            return size;
        memset(out, 0, 8);
        memcpy(out + 8, image, 2 * m_samples);
        return 8 + 2 * m_samples;
    }

    void decompress(uint8_t* block, uint16_t* image)
    {
        static constexpr uint8_t marker[8] = {};
        if (memcmp(block, marker, 8) == 0) {
            memcpy(image, block + 8, 2 * m_samples);
            return;
        }
        const size_t size = loadTable(block);
        if (m_entries == 1)
            std::fill_n(image, m_samples, static_cast<uint16_t>(m_decoder[0].decoded_value));
        else
            rangeDecompress(block + size, image, m_samples, m_decoder.data());
    }

    const EncoderPair* encoderTable() const { return m_encoder.data(); }
    size_t entries() const { return m_entries; }

private:
    void prepareTables(const uint16_t* image)
    {
        std::fill(m_counts.begin(), m_counts.end(), 0);
        std::fill(m_decoder.begin(), m_decoder.end(), DecoderPair{});
        m_entries = 0;
        for (size_t i = 0; i < m_samples; ++i)
            ++m_counts[image[i]];
        int total = 0;
        for (int step = 0; step < 65536; ++step) {
            const int value = m_equals == EEquals::AsLibrary ? step % 4096 * 16 + step / 4096 : 65535 - step;
            if (m_counts[static_cast<size_t>(value)] == 0)
                continue;
            int scaled = static_cast<int>(
                m_counts[static_cast<size_t>(value)] * 1048576.0 / static_cast<double>(m_samples) + 0.5);
            scaled = scaled == 0 ? 1 : scaled;
            m_decoder[m_entries++] = {value, scaled};
            total += scaled;
        }
        if (m_equals == EEquals::AsSorted)
            std::sort(m_decoder.begin(), m_decoder.end(), moreFrequent);
        else
            std::stable_sort(m_decoder.begin(), m_decoder.end(), moreFrequent);
        correct(total);
        std::fill(m_encoder.begin(), m_encoder.end(), EncoderPair{});
        int sum = 0;
        for (size_t i = 0; i < m_entries; ++i) {
            m_encoder[static_cast<size_t>(m_decoder[i].decoded_value)] = {m_decoder[i].cprobability, sum};
            sum += m_decoder[i].cprobability;
        }
    }

    void correct(int total)
    {
        while (total < 1048576)
            for (size_t i = 0; i < m_entries && total < 1048576; ++i, ++total)
                ++m_decoder[i].cprobability;
        size_t last = m_entries - 1;
        while (total > 1048576) {
            while (m_decoder[last].cprobability == 1)
                --last;
            for (size_t i = last + 1; i-- > 0 && total > 1048576; --total)
                --m_decoder[i].cprobability;
        }
    }

    size_t storeTable(uint8_t* out)
    {
        const auto put = [&](size_t number) {
            *out++ = static_cast<uint8_t>(number);
            *out++ = static_cast<uint8_t>(number >> 8);
        };
        put(m_entries - 1);
        for (size_t i = 0; i < m_entries; ++i)
            put(static_cast<size_t>(m_decoder[i].decoded_value));
        if (m_entries == 1)
            return 4;
        BitCoder coder(out, 20);
        for (size_t i = 0; i < m_entries; ++i)
            coder.write(static_cast<unsigned>(m_decoder[i].cprobability));
        return coder.bytesUsed() + 2 * (m_entries + 1);
    }

    size_t loadTable(uint8_t* block)
    {
        m_entries = block[0] + 256u * block[1] + 1;
        for (size_t i = 0; i < m_entries; ++i)
            m_decoder[i].decoded_value = block[2 + 2 * i] + 256 * block[3 + 2 * i];
        if (m_entries == 1)
            return 4;
        BitCoder coder(block + 2 * (m_entries + 1), 20);
        int sum = 0;
        for (size_t i = 0; i < m_entries; ++i) {
            m_decoder[i].cprobability = sum;
            sum += static_cast<int>(coder.read());
        }
        m_decoder[m_entries].cprobability = 1048576;
        return coder.bytesUsed() + 2 * (m_entries + 1);
    }

    size_t m_samples;
    EEquals m_equals;
    size_t m_entries = 0;
    std::vector<int> m_counts = std::vector<int>(65536);
    std::vector<EncoderPair> m_encoder = std::vector<EncoderPair>(65536);
    std::vector<DecoderPair> m_decoder = std::vector<DecoderPair>(65537);
};

} // namespace lag1reference
