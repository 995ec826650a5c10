#include "lag1_range_coder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#undef NDEBUG // a wrong table must not reach a recording, whatever the build type
#include <cassert>

namespace libobrifile {

namespace {

constexpr uint32_t sFullRange = 0x80000000;
constexpr uint32_t sNarrow = 1u << 23; // at or below it the range is widened, by bytes until it is above

void storeBigEndian(uint8_t* at, uint64_t number)
{
    if constexpr (std::endian::native == std::endian::little)
        number = __builtin_bswap64(number);
    memcpy(at, &number, sizeof number);
}

// About every second sample leaves a narrow range, in no order that a branch predictor could learn, but
// compilers like to make a branch of the plain expression.
inline uint32_t chooseIfNarrow(uint32_t range, uint32_t narrow, uint32_t wide)
{
#if defined(__x86_64__)
    asm("cmpl %[limit], %[range]\n\tcmovbe %[narrow], %[wide]"
        : [wide] "+r"(wide)
        : [range] "r"(range), [narrow] "r"(narrow), [limit] "i"(sNarrow)
        : "cc");
    return wide;
#else
    return range <= sNarrow ? narrow : wide;
#endif
}

// The start of the code's interval is kept in 64 bits: above the 32 in use lie the last four bytes that
// were stored. Every sample stores all eight again, so a carry into stored bytes costs nothing until it
// leaves the register, for which all four must be 255. The code's first bit, always 0, is where a carry
// out of the 31 bits of the interval would go; so the bytes need no shift afterwards.
//
// The range is left as it is after a sample, and widened when the next one begins.
struct SEncoder {
    uint64_t low = 0;
    uint32_t range = sFullRange;
    uint32_t shift = 0; // bits that low has to move on before the next sample, apart from one more byte
    uint8_t* out;       // where the upper byte of low's 32 working bits belongs; the four before it are writable

    void put(RangeSlice slice);
    void finish();
};

// Rare: the carry runs on into bytes that have left the register.
[[gnu::noinline, gnu::cold]] void carryInto(uint8_t* at)
{
    while (*at == 255)
        *at-- = 0;
    ++*at;
}

inline void SEncoder::put(RangeSlice slice)
{
    const uint32_t unit = chooseIfNarrow(range, range >> (FRACTIONAL_BITS - 8), range >> FRACTIONAL_BITS);
    const uint32_t bits = shift + 8 * uint32_t{range <= sNarrow};
    const uint64_t scaled = (slice & sSliceBits) * unit; // start and width at once: neither exceeds 31 bits
    range = static_cast<uint32_t>(scaled);
    shift = static_cast<uint32_t>(slice >> sSliceShiftAt);
    out += bits / 8;
    if (__builtin_add_overflow(low << bits, scaled >> 32, &low)) [[unlikely]]
        carryInto(out - 5);
    storeBigEndian(out - 4, low);
}

// Brings low and range to where a next sample would begin: the code ends with low's 32 working bits.
void SEncoder::finish()
{
    for (low <<= shift, out += shift / 8, shift = 0; range <= sNarrow; range <<= 8, ++out)
        low <<= 8;
    storeBigEndian(out - 4, low);
}

// A width of 0, of a value that the table does not have, makes the range 0 for good.
template <class SliceOfSample>
void encode(SEncoder& encoder, std::span<const unsigned short> samples, SliceOfSample&& sliceOfSample)
{
    SEncoder local = encoder; // in registers: the bytes stored could be the members', as far as C++ knows
    for (const unsigned short sample : samples)
        local.put(sliceOfSample(sample));
    encoder = local;
    const uint32_t range = encoder.range;
    assert(range != 0);
}

template <class SliceOfSample>
size_t compressWithin(std::span<const unsigned short> src, uint8_t* dest, size_t room, SliceOfSample&& sliceOfSample)
{
    // The first samples are coded aside, until the register's upper half no longer lies before dest.
    uint8_t head[4 + 2 * sMostCodeBytesPerSample + sizeof(uint64_t)] = {};
    SEncoder encoder{.out = head + 4};
    size_t done = 0;
    for (; done < src.size() && encoder.out < head + 8; ++done)
        encode(encoder, src.subspan(done, 1), sliceOfSample);
    if (done == src.size())
        encoder.finish();
    const auto headBytes = static_cast<size_t>(encoder.out - (head + 4));
    memcpy(dest, head + 4, std::min(headBytes + sLeastCodeBytes, room));
    encoder.out = dest + headBytes;

    // As many samples at a time as surely find room; at the very end one by one.
    const auto size = [&] { return static_cast<size_t>(encoder.out - dest) + sLeastCodeBytes; };
    while (done < src.size() && size() < room) {
        const size_t sure = std::max<size_t>((room - size()) / sMostCodeBytesPerSample, 1);
        const auto stretch = src.subspan(done, std::min(sure, src.size() - done));
        encode(encoder, stretch, sliceOfSample);
        done += stretch.size();
        if (done == src.size())
            encoder.finish();
    }
    return std::min(size(), room);
}

} // namespace

size_t RangeCompress(std::span<const unsigned short> src, uint8_t* dest, size_t room, const RangeSlice* slices)
{
    return compressWithin(src, dest, room, [=](unsigned short sample) { return slices[sliceIndex(sample)]; });
}

int RangeCompress(const unsigned short* src, void* dest, int length, EncoderPair* encoder_table)
{
    const auto sliceOfSample = [=](unsigned short sample) { return sliceOf(encoder_table[sample]); };
    return static_cast<int>(
        compressWithin({src, static_cast<size_t>(length)}, static_cast<uint8_t*>(dest), SIZE_MAX, sliceOfSample));
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
        while (range <= sNarrow) {
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
