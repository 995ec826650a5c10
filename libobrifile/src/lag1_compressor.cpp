#include "lag1_compressor.h"

#include "lag1_frequency_table.h"
#include "lag1_probability_coder.h"
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#undef NDEBUG // a wrong table must not reach a recording, whatever the build type
#include <cassert>

namespace libobrifile {

namespace {

constexpr int sScale = 1 << FRACTIONAL_BITS;
constexpr size_t sShortBytes = 2;

// A table stores the number of its values less one, then the values: as many shorts as it has values, and one.
size_t valueBytes(int entries)
{
    return sShortBytes * (static_cast<size_t>(entries) + 1);
}

bool isConstant(std::span<const unsigned short> samples)
{
    return memcmp(samples.data(), samples.data() + 1, samples.size_bytes() - sizeof samples[0]) == 0;
}

} // namespace

void WriteShort(void* dest, unsigned short val)
{
    auto* bytes = static_cast<uint8_t*>(dest);
    bytes[0] = static_cast<uint8_t>(val);
    bytes[1] = static_cast<uint8_t>(val >> 8);
}

unsigned short ReadShort(void* src)
{
    const auto* bytes = static_cast<const uint8_t*>(src);
    return static_cast<unsigned short>(bytes[0] | bytes[1] << 8);
}

Compressor::Compressor(int frame_width, int frame_height) : width(frame_width), height(frame_height)
{
    // The spelling is part of the message that a failure prints.
    // clang-format off
    assert(frame_width>0);
    assert(frame_height>0);
    // clang-format on
    assert(frame_height <= MaxSamples / frame_width);
}

// Clears what the last image left behind, which is little of the tables as a rule.
void Compressor::ForgetImage()
{
    for (DecoderPair& entry : Table()) {
        frequencies[entry.decoded_value] = 0;
        encoder_table[entry.decoded_value] = {};
        entry = {};
    }
    decoder_table[table_entries] = {};
    table_entries = 0;
}

void Compressor::AppendValue(int value, int count)
{
    frequencies[value] = count;
    decoder_table[table_entries++] = {value, count};
}

// Two tables by turns: equal neighbours, common in a sky, would wait for each other's store in one.
void Compressor::CountSamples(std::span<const unsigned short> samples)
{
    const size_t pairs = samples.size() / 2;
    for (size_t i = 0; i < pairs; ++i) {
        ++m_counts[0][sliceIndex(samples[2 * i])];
        ++m_counts[1][sliceIndex(samples[2 * i + 1])];
    }
    if (samples.size() % 2 != 0)
        ++m_counts[0][sliceIndex(samples.back())];
}

// Lists the values that occur, with their counts, and clears the counters. Ends where no sample is left:
// of 12-bit images, which lie at the front, only a sixteenth of the counters is read.
void Compressor::CollectValues(int samples)
{
    constexpr int BlockValues = 16;
    for (int first = 0; samples > 0; first += BlockValues) {
        int* const even = m_counts[0] + first;
        int* const odd = m_counts[1] + first;
        int any = 0;
        for (int i = 0; i < BlockValues; ++i)
            any |= even[i] | odd[i];
        if (any == 0)
            continue;
        for (int i = 0; i < BlockValues; ++i) {
            const int count = even[i] + odd[i];
            if (count == 0)
                continue;
            even[i] = odd[i] = 0;
            samples -= count;
            AppendValue(sliceValue(first + i), count);
        }
    }
}

// Holds for every code that the samples could get, so that stopping here changes no byte of the output.
//
// A sample narrows the range by its share of the table or more, all samples together by no less than the
// entropy whatever the table, and for every eight bits of that a byte is written, except perhaps the last.
bool Compressor::CodeCannotShrink() const
{
    if (table_entries == 1)
        return false;
    const int samples = width * height;
    const size_t fixedBytes = valueBytes(table_entries) + sLeastCodeBytes - 1;
    const auto cannotShrink = [&](double bits) { return double(fixedBytes) + bits / 8 >= double(RawBytes()); };
    // The logarithm of the number of values bounds the entropy from above and settles most images.
    return cannotShrink(samples * std::log2(table_entries)) &&
           cannotShrink(entropyBits({decoder_table, static_cast<size_t>(table_entries)}, samples));
}

void Compressor::FillEncoderTable()
{
    int sum = 0;
    for (const DecoderPair& entry : Table()) {
        const auto value = static_cast<uint16_t>(entry.decoded_value);
        encoder_table[value] = {entry.cprobability, sum};
        m_slices[sliceIndex(value)] = sliceOf(encoder_table[value]);
        sum += entry.cprobability;
    }
}

// False when it turns out on the way that the code would not be smaller than the samples.
bool Compressor::PrepareTables(unsigned short* uncompressed, int uncompressed_symbol_count)
{
    ForgetImage();
    const std::span<const unsigned short> samples(uncompressed, static_cast<size_t>(uncompressed_symbol_count));
    if (isConstant(samples)) {
        AppendValue(samples[0], uncompressed_symbol_count);
    } else {
        CountSamples(samples);
        CollectValues(uncompressed_symbol_count);
    }
    if (CodeCannotShrink())
        return false;
    scaleCounts(Table(), uncompressed_symbol_count);
    sortByFrequency(Table(), m_sortBuffer);
    correctSum(Table());
    FillEncoderTable();
    return true;
}

// What StoreDecompressionTable will write.
size_t Compressor::TableBytes() const
{
    if (table_entries == 1)
        return valueBytes(1);
    size_t bits = FRACTIONAL_BITS;
    for (int i = 1; i < table_entries && decoder_table[i - 1].cprobability > 1; ++i)
        bits += static_cast<size_t>(std::bit_width(static_cast<unsigned int>(decoder_table[i - 1].cprobability)));
    return valueBytes(table_entries) + (bits + 7) / 8;
}

int Compressor::StoreDecompressionTable(void* comp)
{
    auto* bytes = static_cast<uint8_t*>(comp);
    WriteShort(bytes, static_cast<unsigned short>(table_entries - 1));
    for (const DecoderPair& entry : Table())
        WriteShort(bytes += sShortBytes, static_cast<unsigned short>(entry.decoded_value));
    if (table_entries == 1)
        return static_cast<int>(valueBytes(1));
    ProbabilityCoder coder(bytes + sShortBytes, FRACTIONAL_BITS);
    for (const DecoderPair& entry : Table())
        coder.WriteSymbol(static_cast<unsigned int>(entry.cprobability));
    return static_cast<int>(coder.GetBytesUsed() + valueBytes(table_entries));
}

int Compressor::StoreRaw(const unsigned short* uncompressed, void* compressed) const
{
    auto* bytes = static_cast<uint8_t*>(compressed);
    memset(bytes, 0, RawMarkerBytes);
    memcpy(bytes + RawMarkerBytes, uncompressed, RawBytes());
    return static_cast<int>(RawMarkerBytes + RawBytes());
}

int Compressor::CompressData(unsigned short* uncompressed, void* compressed)
{
    if (!PrepareTables(uncompressed, static_cast<int>(Samples())) || TableBytes() >= RawBytes())
        return StoreRaw(uncompressed, compressed);
    auto size = static_cast<size_t>(StoreDecompressionTable(compressed));
    if (table_entries > 1)
        size += RangeCompress({uncompressed, Samples()}, static_cast<uint8_t*>(compressed) + size, RawBytes() - size,
                              m_slices);
    return size < RawBytes() ? static_cast<int>(size) : StoreRaw(uncompressed, compressed);
}

bool Compressor::IsRaw(std::span<const uint8_t> compressed) const
{
    return compressed.size() >= RawMarkerBytes &&
           std::all_of(compressed.begin(), compressed.begin() + RawMarkerBytes, [](uint8_t byte) { return byte == 0; });
}

// Gives the size that the block should have.
size_t Compressor::LoadRaw(std::span<const uint8_t> compressed, unsigned short* uncompressed) const
{
    const size_t bytes = std::min(compressed.size() - RawMarkerBytes, RawBytes());
    memcpy(uncompressed, compressed.data() + RawMarkerBytes, bytes);
    memset(reinterpret_cast<uint8_t*>(uncompressed) + bytes, 0, RawBytes() - bytes);
    return RawMarkerBytes + RawBytes();
}

Compressor::STable Compressor::ReadTable(std::span<const uint8_t> comp)
{
    ForgetImage();
    const auto shortAt = [&](size_t offset) {
        const unsigned low = offset < comp.size() ? comp[offset] : 0;
        const unsigned high = offset + 1 < comp.size() ? comp[offset + 1] : 0;
        return static_cast<int>(low | high << 8);
    };
    table_entries = shortAt(0) + 1;
    for (int i = 0; i < table_entries; ++i)
        decoder_table[i].decoded_value = shortAt(valueBytes(i));
    const size_t values = valueBytes(table_entries);
    STable table{values, 1, sScale, comp.size() < values};
    if (table_entries == 1)
        return table;

    ProbabilityCoder coder(comp.subspan(std::min(values, comp.size())), FRACTIONAL_BITS);
    table.cp = 0;
    for (int i = 0; i < table_entries && table.v != 0 && table.cp <= sScale; ++i) {
        decoder_table[i].cprobability = table.cp;
        table.v = coder.ReadSymbol();
        table.cp += static_cast<int>(table.v);
    }
    decoder_table[table_entries].cprobability = sScale;
    table.bytes += coder.GetBytesUsed();
    table.truncated = comp.size() < table.bytes;
    return table;
}

int Compressor::LoadDecompressionTable(std::span<const uint8_t> comp)
{
    const auto [bytes, v, cp, truncated] = ReadTable(comp);
    assert(v);
    // The spelling is part of the message that a failure prints.
    // clang-format off
    assert(cp==(1<<FRACTIONAL_BITS));
    // clang-format on
    return static_cast<int>(bytes);
}

int Compressor::DecompressData(void* compressed, unsigned short* uncompressed)
{
    constexpr size_t MostTableBytes = sShortBytes * (Values + 1) + Values * FRACTIONAL_BITS / 8;
    const size_t mostBytes = MostTableBytes + sLeastCodeBytes + sMostCodeBytesPerSample * Samples();
    return DecompressData({static_cast<const uint8_t*>(compressed), mostBytes}, uncompressed);
}

int Compressor::DecompressData(std::span<const uint8_t> compressed, unsigned short* uncompressed)
{
    if (IsRaw(compressed))
        return static_cast<int>(LoadRaw(compressed, uncompressed));
    const int size = LoadDecompressionTable(compressed);
    LoadSamples(compressed, static_cast<size_t>(size), uncompressed);
    return table_entries > 1 ? size + 1 : size;
}

bool Compressor::TryDecompress(std::span<const uint8_t> compressed, uint16_t* uncompressed, size_t* used)
{
    size_t bytes = 0;
    bool good;
    if (IsRaw(compressed)) {
        bytes = LoadRaw(compressed, uncompressed);
        good = bytes <= compressed.size();
    } else {
        const STable table = ReadTable(compressed);
        good = !table.truncated && table.v != 0 && table.cp == sScale;
        if (good)
            good = LoadSamples(compressed, table.bytes, uncompressed, &bytes);
    }
    if (used)
        *used = std::min(bytes, compressed.size());
    return good;
}

// Gives false for a damaged code, and in `end` where the block's bytes end.
bool Compressor::LoadSamples(std::span<const uint8_t> block, size_t codeAt, unsigned short* uncompressed, size_t* end)
{
    size_t codeBytes = 0;
    bool good = true;
    if (table_entries > 1)
        good = RangeDecompress(block.subspan(std::min(codeAt, block.size())), {uncompressed, Samples()}, decoder_table,
                               &codeBytes);
    else
        std::fill_n(uncompressed, Samples(), static_cast<unsigned short>(decoder_table[0].decoded_value));
    if (end)
        *end = codeAt + codeBytes;
    return good;
}

} // namespace libobrifile
