#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace libobrifile {

/// Scaled frequencies of one image sum to 1 << FRACTIONAL_BITS.
constexpr int FRACTIONAL_BITS = 20;

/// What the encoder knows of one sample value: its slice of the 2^20 wide probability scale.
struct EncoderPair {
    int probability;  ///< width of the slice; 0 when the value does not occur
    int cprobability; ///< start of the slice: the widths of all values before it in table order
};

/// One row of the decoder's table, in table order.
struct DecoderPair {
    int decoded_value; ///< 0..65535
    int cprobability;  ///< start of the value's slice (its width while the table is being prepared)
};

/// Codes length samples (1 or more) into dest and returns the number of bytes written.
///
/// @param dest           room for 3 * length + 4 bytes; a static table needs far less on the average.
/// @param encoder_table  65536 entries by sample value; every sample's probability is 1 or more and
///                       all of them sum to 2^20, otherwise the process ends ("range != 0").
///
/// Allocates nothing. Any thread.
int RangeCompress(const unsigned short* src, void* dest, int length, EncoderPair* encoder_table);

/// A slice of the scale as the encoder multiplies with it: from bit 0 up its width times 2^shift, from
/// bit 32 its start, from bit 56 the shift.
///
/// Before a sample the encoder's range is 2^23 to 2^31, so its 2^20th part is 8 to 2048. After a sample of
/// width 4096 or less the range is therefore at most 2^23 and has to be widened by a byte in any case, at
/// width 16 or less by two. With this shift made in advance, whether one byte more is due is all that a
/// sample leaves open.
using RangeSlice = uint64_t;
constexpr int sSliceShiftAt = 56;
constexpr uint64_t sSliceBits = (uint64_t{1} << 52) - 1; ///< start and width

/// The slice of an encoder table's entry. Without a branch: frequent and rare values alternate at random.
constexpr RangeSlice sliceOf(const EncoderPair& pair)
{
    const auto width = static_cast<uint64_t>(pair.probability), start = static_cast<uint64_t>(pair.cprobability);
    const uint64_t shift = 8 * (uint64_t{width <= 4096} + uint64_t{width <= 16});
    return shift << sSliceShiftAt | start << 32 | width << shift;
}

/// Where a table of slices keeps that of a sample value: 12-bit samples, which stand in the upper bits
/// and so lie 16 apart, become neighbours in memory.
constexpr uint16_t sliceIndex(uint16_t value)
{
    return static_cast<uint16_t>(value >> 4 | value << 12);
}

/// The sample value whose slice is kept at an index.
constexpr uint16_t sliceValue(int index)
{
    return static_cast<uint16_t>(index << 4 | index >> 12);
}

/// As RangeCompress above, from a table of slices made once, and within a known room.
///
/// @param dest    room + sRangeCodeSlack bytes; what lies there is not a code when it was given up.
/// @param slices  65536 entries by sliceIndex; those of values that do not occur are not looked at.
/// @return the number of bytes written, less than room; or room, when the code needs that or more.
size_t RangeCompress(std::span<const unsigned short> src, uint8_t* dest, size_t room, const RangeSlice* slices);

/// A code ends with four bytes, and no sample adds more than three to it.
constexpr size_t sLeastCodeBytes = 4, sMostCodeBytesPerSample = 3;

/// How far beyond its room the encoder above may write before it notices.
constexpr size_t sRangeCodeSlack = 8;

/// Decodes length samples from a code that the caller knows to be whole, and returns 1.
///
/// @param decoder_table  in table order, followed by a sentinel whose cprobability is 2^20.
/// @param hash           not used.
///
/// A corrupt code gives wrong samples, never an access outside dest or the table.
int RangeDecompress(const void* source, unsigned short* dest, int length, DecoderPair* decoder_table, const int* hash);

/// Decodes dest.size() samples; a code that ends too early reads as if zero bytes followed it.
///
/// @param used  when given: bytes of the code that the encoder wrote for these samples.
/// @return false when the code ended too early or names a place outside the probability scale; the
///         samples are then wrong from some point on, but all of them are written.
bool RangeDecompress(std::span<const uint8_t> source, std::span<unsigned short> dest, const DecoderPair* decoder_table,
                     size_t* used = nullptr);

} // namespace libobrifile
