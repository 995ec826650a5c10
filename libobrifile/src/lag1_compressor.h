#pragma once

#include "lag1_range_coder.h"
#include <cstddef>
#include <cstdint>
#include <span>

namespace libobrifile {

/// Lossless compression of one 16-bit monochrome image at a time ("LAGARITH16" layout): a table of the
/// image's own sample frequencies, then its samples in a range code against that table.
///
/// An instance holds every table it needs (2.8 MB) and allocates nothing afterwards: make one on the
/// heap for a recording and reuse it for every frame. Any thread, but one at a time. docs/lagarith16.md describes the
/// bytes.
class Compressor {
public:
    /// @param frame_width, frame_height  samples a line and lines; 0 or less ends the process, and so
    ///                                   do more than MaxSamples samples.
    Compressor(int frame_width, int frame_height);

    /// The most samples that an image may have: sizes in bytes are ints.
    static constexpr int MaxSamples = 1 << 29;

    /// Bytes that the output buffer of CompressData must have: those of a raw block, the largest result.
    static constexpr size_t ScratchBytes(int frame_width, int frame_height)
    {
        return 2 * static_cast<size_t>(frame_width) * static_cast<size_t>(frame_height) + RawMarkerBytes;
    }

    /// Compresses width * height samples and returns the number of bytes written. Cannot fail: an image
    /// that does not shrink is stored raw behind eight zero bytes.
    ///
    /// @param uncompressed  read only.
    /// @param compressed    ScratchBytes(width, height) bytes, apart from the image.
    int CompressData(unsigned short* uncompressed, void* compressed);

    /// The inverse, for blocks that the caller trusts. Reads at least eight bytes, also where the block
    /// has only four.
    ///
    /// @return 2 * width * height + 8 for a raw block, 4 for an image of one value, otherwise the size
    ///         of the table plus 1 (the length of the code is not told).
    ///
    /// A table with a frequency of zero or a wrong sum ends the process; a damaged code gives wrong
    /// samples.
    int DecompressData(void* compressed, unsigned short* uncompressed);

    /// As above for a block of known size: nothing outside it is read, what is missing counts as zero.
    int DecompressData(std::span<const uint8_t> compressed, unsigned short* uncompressed);

    /// Decompresses a block that may be damaged or hostile.
    ///
    /// @param uncompressed  width * height samples, undefined after a failure.
    /// @param used          when given: the bytes that belong to the block; the rest were not needed.
    /// @return false when the block is cut short or contradicts itself.
    bool TryDecompress(std::span<const uint8_t> compressed, uint16_t* uncompressed, size_t* used = nullptr);

private:
    static constexpr int Values = 65536;
    static constexpr size_t RawMarkerBytes = 8;
    static_assert(sRangeCodeSlack <= RawMarkerBytes); // a code that is given up stays within the raw block

    /// What reading a table found.
    struct STable {
        size_t bytes;           ///< its size
        unsigned int v;         ///< the frequency read last; reading ends early at 0, which no table holds
        int cp;                 ///< sum of the frequencies; reading ends early when it is too large
        bool truncated = false; ///< the block ends within the table
    };

    size_t Samples() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
    size_t RawBytes() const { return 2 * Samples(); }

    bool PrepareTables(unsigned short* uncompressed, int uncompressed_symbol_count);
    void ForgetImage();
    void CountSamples(std::span<const unsigned short> samples);
    void CollectValues(int samples);
    void AppendValue(int value, int count);
    void FillEncoderTable();
    bool CodeCannotShrink() const;
    std::span<DecoderPair> Table() { return {decoder_table, static_cast<size_t>(table_entries)}; }

    size_t TableBytes() const;
    int StoreDecompressionTable(void* comp);
    int StoreRaw(const unsigned short* uncompressed, void* compressed) const;

    int LoadDecompressionTable(std::span<const uint8_t> comp);
    STable ReadTable(std::span<const uint8_t> comp);
    bool LoadSamples(std::span<const uint8_t> block, size_t codeAt, unsigned short* uncompressed,
                     size_t* end = nullptr);
    bool IsRaw(std::span<const uint8_t> compressed) const;
    size_t LoadRaw(std::span<const uint8_t> compressed, unsigned short* uncompressed) const;

    int width;
    int height;
    int table_entries = 0;
    int frequencies[Values] = {};
    EncoderPair encoder_table[Values] = {};
    DecoderPair decoder_table[Values + 1] = {};

    // All of these by sliceIndex of the value, but the last.
    int m_counts[2][Values] = {}; // every second sample's each; all zero between images
    RangeSlice m_slices[Values];  // of values that the last image did not have: left over
    DecoderPair m_sortBuffer[Values];
};

/// Table order: true when a is more frequent than b.
inline bool compare(const DecoderPair& a, const DecoderPair& b)
{
    return a.cprobability > b.cprobability;
}

/// Writes two bytes, low byte first.
void WriteShort(void* dest, unsigned short val);

/// Reads two bytes, low byte first.
unsigned short ReadShort(void* src);

} // namespace libobrifile
