#include "lag1_probability_coder.h"

#include <bit>

#undef NDEBUG // a wrong table must not reach a recording, whatever the build type
#include <cassert>

namespace libobrifile {

ProbabilityCoder::ProbabilityCoder(void* memory, int bits)
    : stream(static_cast<unsigned char*>(memory)), max_val(1u << (bits - 1))
{
}

ProbabilityCoder::ProbabilityCoder(std::span<const uint8_t> memory, int bits)
    : ProbabilityCoder(const_cast<uint8_t*>(memory.data()), bits)
{
    m_streamBytes = memory.size();
}

void ProbabilityCoder::WriteSymbol(unsigned int symbol)
{
    if (max_val <= 1) {
        assert(symbol == 1);
        return;
    }
    const unsigned int value = symbol & (2 * max_val - 1);
    PutBits(value, std::bit_width(max_val));
    max_val = std::bit_floor(value);
}

unsigned int ProbabilityCoder::ReadSymbol()
{
    if (max_val < 2)
        return 1;
    const unsigned int count = std::bit_width(max_val);
    const auto value = static_cast<unsigned int>(PeekBits(count) & (2 * uint64_t{max_val} - 1));
    bitpos += count;
    max_val = std::bit_floor(value);
    return value;
}

unsigned int ProbabilityCoder::GetBytesUsed() const
{
    return bitpos / 8 + (bitpos % 8 != 0);
}

// Whole bytes at once; the bits of the last byte beyond the number become zero.
void ProbabilityCoder::PutBits(unsigned int value, unsigned int count)
{
    unsigned char* at = stream + bitpos / 8;
    const unsigned int offset = bitpos % 8;
    uint64_t bits = uint64_t{value} << offset;
    if (offset != 0)
        bits |= *at;
    for (unsigned int done = 0; done < offset + count; done += 8)
        *at++ = static_cast<unsigned char>(bits >> done);
    bitpos += count;
}

uint64_t ProbabilityCoder::PeekBits(unsigned int count) const
{
    const size_t first = bitpos / 8;
    const unsigned int offset = bitpos % 8;
    uint64_t bits = 0;
    for (unsigned int got = 0; got < offset + count && first + got / 8 < m_streamBytes; got += 8)
        bits |= uint64_t{stream[first + got / 8]} << got;
    return bits >> offset;
}

} // namespace libobrifile
