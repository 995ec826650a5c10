#include "lag1_range_coder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#undef NDEBUG // a wrong table must not reach a recording, whatever the build type
#include <cassert>

namespace libobrifile {

namespace {

constexpr uint32_t sFullRange = 0x80000000;
constexpr uint32_t sNarrow1 = 1u << 23; // at or below it the range is widened by a byte,
constexpr uint32_t sNarrow2 = 1u << 15; // by two,
constexpr uint32_t sNarrow3 = 1u << 7;  // by three; the range is never below 8, so that is enough

// Samples between two looks at the room that is left.
constexpr size_t sStretch = 256;
static_assert(sStretch * sMostCodeBytesPerSample + sizeof(uint64_t) <= sRangeCodeSlack);

void storeBigEndian(uint8_t* at, uint64_t number)
{
    if constexpr (std::endian::native == std::endian::little)
        number = __builtin_bswap64(number);
    memcpy(at, &number, sizeof number);
}

// Both halves of a slice in one number, its start above its width, so that one multiplication scales both.
uint64_t asNumber(const EncoderPair& pair)
{
    if constexpr (std::endian::native == std::endian::little && offsetof(EncoderPair, cprobability) == 4)
        return std::bit_cast<uint64_t>(pair);
    return uint64_t{static_cast<uint32_t>(pair.cprobability)} << 32 | static_cast<uint32_t>(pair.probability);
}

// Chosen by data, not by prediction: whether the range has to be widened is close to a coin toss.
template <class T>
T choose(bool condition, T yes, T no)
{
    return __builtin_expect_with_probability(condition, 1, 0.5) ? yes : no;
}

// The interval's start is kept in 64 bits: above the 32 in use lie the last four bytes that were
// stored. Every sample stores all eight again, so a carry into stored bytes costs nothing until it
// leaves the register, which takes four bytes of 255. The code's first bit, always 0, is the place
// where a carry out of 31 bits lands; the bytes need no shift afterwards.
//
// The range is left as it was after the last sample's product and widened when the next begins: its
// product is computed for every number of bytes that the widening may take, and the right one chosen.
struct SEncoder {
    uint64_t low = 0;
    uint32_t range = sFullRange;
    uint8_t* out; // where the upper byte of low's 32 working bits belongs; four bytes before it are writable

    void put(const EncoderPair& pair);
    void put(std::span<const unsigned short> samples, const EncoderPair* table);
    void widen();
    void carry();
};

// Rare: the carry runs on into bytes that have left the register.
[[gnu::noinline, gnu::cold]] void SEncoder::carry()
{
    uint8_t* at = out - 5;
    while (*at == 255)
        *at-- = 0;
    ++*at;
}

inline void SEncoder::put(const EncoderPair& pair)
{
    const uint64_t slice = asNumber(pair);
    const bool narrow1 = range <= sNarrow1, narrow2 = range <= sNarrow2;
    uint64_t scaled = choose(narrow1, slice * (range >> 12), slice * (range >> 20));
    unsigned shift = 8u * narrow1 + 8u * narrow2;
    scaled = choose(narrow2, slice * (range >> 4), scaled);
    if (range <= sNarrow3) [[unlikely]] {
        assert(range != 0);
        scaled = slice * (range << 4);
        shift = 24;
    }
    range = static_cast<uint32_t>(scaled);
    out += shift >> 3;
    if (__builtin_add_overflow(low << shift, scaled >> 32, &low)) [[unlikely]]
        carry();
    storeBigEndian(out - 4, low);
}

inline void SEncoder::put(std::span<const unsigned short> samples, const EncoderPair* table)
{
    SEncoder local = *this; // in registers: stores through out could change the members otherwise
    for (const unsigned short sample : samples)
        local.put(table[sample]);
    *this = local;
}

// Leaves low and range as they stand before a next sample, so that out + 4 is the end of the code.
void SEncoder::widen()
{
    assert(range != 0);
    for (; range <= sNarrow1; range <<= 8) {
        low <<= 8;
        ++out;
    }
    storeBigEndian(out - 4, low);
}

} // namespace

size_t RangeCompress(std::span<const unsigned short> src, uint8_t* dest, size_t room, const EncoderPair* encoder_table)
{
    // The first bytes are coded aside: the register's upper half must not reach before dest.
    uint8_t head[4 + 2 * sMostCodeBytesPerSample + sizeof(uint64_t)] = {};
    SEncoder encoder{.out = head + 4};
    const auto headBytes = [&] { return static_cast<size_t>(encoder.out - (head + 4)); };
    size_t done = 0;
    while (done < src.size() && headBytes() < 4)
        encoder.put(encoder_table[src[done++]]);
    if (done == src.size())
        encoder.widen();
    memcpy(dest, head + 4, headBytes() + sLeastCodeBytes);
    encoder.out = dest + headBytes();

    const auto size = [&] { return static_cast<size_t>(encoder.out - dest) + sLeastCodeBytes; };
    while (done < src.size() && size() < room) {
        const auto stretch = src.subspan(done, std::min(sStretch, src.size() - done));
        encoder.put(stretch, encoder_table);
        done += stretch.size();
        if (done == src.size())
            encoder.widen();
    }
    return std::min(size(), room);
}

int RangeCompress(const unsigned short* src, void* dest, int length, EncoderPair* encoder_table)
{
    return static_cast<int>(
        RangeCompress({src, static_cast<size_t>(length)}, static_cast<uint8_t*>(dest), SIZE_MAX, encoder_table));
}

namespace {

constexpr int sLookupBits = 12;
constexpr uint32_t sScale = 1u << FRACTIONAL_BITS;

// For each 4096th of the scale the table position where the search for a slice begins.
struct SLookup {
    uint16_t position[1 << sLookupBits];

    explicit SLookup(const DecoderPair* table)
    {
        int next = 1;
        for (int x = 0; x < 1 << sLookupBits; ++x) {
            while (table[next].cprobability <= x << (FRACTIONAL_BITS - sLookupBits))
                ++next;
            position[x] = static_cast<uint16_t>(next - 1);
        }
    }
};

// The code's bytes, with zeros behind the last.
struct SByteSource {
    std::span<const uint8_t> bytes;
    size_t position = 0;

    uint32_t next()
    {
        const size_t at = position++;
        return at < bytes.size() ? bytes[at] : 0;
    }
};

struct SDecoder {
    SByteSource source;
    uint32_t range = sFullRange;
    uint32_t code = 0;
    bool outside = false; // the code named a place that no encoder reaches

    explicit SDecoder(std::span<const uint8_t> bytes) : source{bytes}
    {
        for (size_t i = 0; i < sLeastCodeBytes; ++i)
            code = code << 8 | source.next();
    }

    void widen()
    {
        while (range <= sNarrow1) {
            range <<= 8;
            assert(range != 0);
            code = (code << 8) + source.next();
        }
    }

    unsigned short get(const DecoderPair* table, const SLookup& lookup);
};

inline unsigned short SDecoder::get(const DecoderPair* table, const SLookup& lookup)
{
    widen();
    const uint32_t unit = range >> FRACTIONAL_BITS;
    uint32_t place = code / unit;
    if (place >= sScale) [[unlikely]] { // damaged: the search below relies on the sentinel
        outside = true;
        place = sScale - 1;
    }
    const DecoderPair* slice = table + lookup.position[place >> (FRACTIONAL_BITS - sLookupBits)];
    while (place >= static_cast<uint32_t>(slice[1].cprobability))
        ++slice;
    code -= static_cast<uint32_t>(slice->cprobability) * unit;
    range = unit * static_cast<uint32_t>(slice[1].cprobability - slice->cprobability);
    return static_cast<unsigned short>(slice->decoded_value);
}

} // namespace

bool RangeDecompress(std::span<const uint8_t> source, std::span<unsigned short> dest, const DecoderPair* decoder_table,
                     size_t* used)
{
    const SLookup lookup(decoder_table);
    SDecoder decoder(source);
    for (unsigned short& sample : dest)
        sample = decoder.get(decoder_table, lookup);
    decoder.widen(); // as the encoder did after its last sample
    if (used)
        *used = std::min(decoder.source.position, source.size());
    return !decoder.outside && decoder.source.position <= source.size();
}

int RangeDecompress(const void* source, unsigned short* dest, int length, DecoderPair* decoder_table, const int*)
{
    const auto samples = static_cast<size_t>(length);
    RangeDecompress({static_cast<const uint8_t*>(source), sLeastCodeBytes + samples * sMostCodeBytesPerSample},
                    {dest, samples}, decoder_table);
    return 1;
}

} // namespace libobrifile
