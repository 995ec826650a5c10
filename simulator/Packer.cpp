#include "Packer.h"

#include <bit>
#include <cstring>

namespace obrisim {

static_assert(std::endian::native == std::endian::little, "words are stored as they stand in memory");

// Six little-endian words a0..a5 carry samples s0..s7; bits of each word, high to low:
//   a0  s0 (12)            s2 bits 3..0        a1  s1 (12)            s3 bits 3..0
//   a2  s2 bits 11..4 (8)  s4 bits 7..0        a3  s3 bits 11..4 (8)  s5 bits 7..0
//   a4  s4 bits 11..8 (4)  s6 (12)             a5  s5 bits 11..8 (4)  s7 (12)
static void packGroup(const uint16_t* s, uint8_t* bytes)
{
    const uint16_t words[6] = {
        static_cast<uint16_t>(s[0] << 4 | (s[2] & 0x0f)),
        static_cast<uint16_t>(s[1] << 4 | (s[3] & 0x0f)),
        static_cast<uint16_t>((s[2] & 0xff0) << 4 | (s[4] & 0xff)),
        static_cast<uint16_t>((s[3] & 0xff0) << 4 | (s[5] & 0xff)),
        static_cast<uint16_t>((s[4] & 0xf00) << 4 | s[6]),
        static_cast<uint16_t>((s[5] & 0xf00) << 4 | s[7]),
    };
    memcpy(bytes, words, sizeof words);
}

void packSamples(const uint16_t* samples, int count, uint8_t* bytes)
{
    for (int i = 0; i < count; i += 8, bytes += 12)
        packGroup(samples + i, bytes);
}

void spreadSamples(const uint16_t* samples, int count, uint8_t* bytes)
{
    for (int i = 0; i < count; ++i, bytes += 2) {
        const auto word = static_cast<uint16_t>(samples[i] >> 4 | (samples[i] & 0x0f) << 8);
        memcpy(bytes, &word, sizeof word);
    }
}

uint64_t hashPixels(uint64_t hash, const uint16_t* samples, int count)
{
    constexpr uint64_t prime = 0x100000001b3;
    for (int i = 0; i < count; ++i) {
        const unsigned pixel = samples[i] << 4;
        hash = (hash ^ (pixel & 0xff)) * prime;
        hash = (hash ^ (pixel >> 8)) * prime;
    }
    return hash;
}

} // namespace obrisim
