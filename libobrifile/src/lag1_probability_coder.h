#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace libobrifile {

/// Packs a descending list of numbers into bits. Each number gets as many bits as the one before it
/// needed, so the fields narrow as the numbers fall; once a number was 1, the rest are 1 and cost nothing.
///
/// Bits are stored from the least significant one up, in each number and in each byte.
/// Memory belongs to the caller. Any thread.
class ProbabilityCoder {
public:
    /// @param bits  width of the first number, 1..32. The caller vouches for the stream's length.
    ProbabilityCoder(void* stream, int bits);

    /// For reading only; past the end of the stream every bit is zero.
    ProbabilityCoder(std::span<const uint8_t> stream, int bits);

    /// Appends a number. Of one wider than its field the upper bits are lost; one other than 1 where
    /// only 1 can follow ends the process ("symbol == 1").
    void WriteSymbol(unsigned int symbol);

    unsigned int ReadSymbol();

    /// Bytes written or read so far, the last one perhaps in part.
    unsigned int GetBytesUsed() const;

private:
    uint64_t PeekBits(unsigned int count) const;
    void PutBits(unsigned int value, unsigned int count);

    unsigned int bitpos = 0;
    unsigned char* stream;
    unsigned int max_val; // highest bit that the next number may have, as a power of two; 0 after a 0
    size_t m_streamBytes = SIZE_MAX;
};

} // namespace libobrifile
