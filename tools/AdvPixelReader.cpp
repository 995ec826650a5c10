#include "AdvPixelReader.h"

#include "AdvHeaderReader.h"

#include "lag1_compressor.h"

#include <algorithm>

namespace obriadv {

namespace {

// A hostile size never reaches the compressor, which would end the process.
static_assert(sMostPixels <= libobrifile::Compressor::MaxSamples);

/// Spreads the bytes of consecutive pixels, 8 or 16 bits each, over 16-bit pixels.
void unpack(const uint8_t* bytes, size_t count, uint32_t bytesPerPixel, uint16_t* pixels)
{
    if (bytesPerPixel == 1) {
        std::copy(bytes, bytes + count, pixels);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        pixels[i] = static_cast<uint16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
}

void placeZones(const std::vector<uint8_t>& block, const SAdvLayout& layout, uint32_t width, uint32_t bytesPerPixel,
                std::vector<uint16_t>& pixels)
{
    size_t at = 0;
    for (const SAdvZone& zone : layout.zones) {
        for (uint32_t row = 0; row < zone.h; ++row) {
            unpack(block.data() + at, zone.w, bytesPerPixel, pixels.data() + (size_t{zone.y} + row) * width + zone.x);
            at += size_t{zone.w} * bytesPerPixel;
        }
    }
}

} // namespace

AdvPixelReader::AdvPixelReader() = default;
AdvPixelReader::~AdvPixelReader() = default;

bool AdvPixelReader::decompress(const SAdvImageSection& image, const SAdvLayout& layout, std::string& error)
{
    // The compressor sees 16-bit samples: two 8-bit pixels make one.
    const uint32_t perLine = layout.bitsPerPixel == 8 ? image.width / 2 : image.width;
    if (perLine == 0) {
        error = "the image is too narrow to be compressed";
        return false;
    }
    if (!m_compressor || m_samplesPerLine != perLine) {
        m_compressor =
            std::make_unique<libobrifile::Compressor>(static_cast<int>(perLine), static_cast<int>(image.height));
        m_samplesPerLine = perLine;
    }
    m_samples.resize(size_t{perLine} * image.height);
    if (!m_compressor->TryDecompress(m_block, m_samples.data())) {
        error = "the compressed block is damaged";
        return false;
    }
    m_block.resize(m_samples.size() * 2);
    for (size_t i = 0; i < m_samples.size(); ++i) {
        m_block[2 * i] = static_cast<uint8_t>(m_samples[i]);
        m_block[2 * i + 1] = static_cast<uint8_t>(m_samples[i] >> 8);
    }
    return true;
}

bool AdvPixelReader::read(const ByteSource& source, const SAdvImageSection& image, const SAdvLayout& layout,
                          const SAdvFrame& frame, std::vector<uint16_t>& pixels, std::string& error)
{
    const uint64_t expected = rawBytes(image, layout);
    if (expected == 0 || layout.bitsPerPixel == 12) {
        error = layout.bitsPerPixel == 12 ? "packed 12-bit pixels are not decoded" : "its layout cannot be used";
        return false;
    }
    // A compressed block is at most the image behind an eight-byte mark.
    const bool isPossible = layout.isCompressed ? frame.pixelBytes <= expected + 8 : frame.pixelBytes == expected;
    if (!isPossible) {
        error = "it has " + std::to_string(frame.pixelBytes) + " pixel bytes where its layout takes " +
                std::to_string(expected);
        return false;
    }
    m_block.resize(frame.pixelBytes);
    if (!source.read(frame.pixelOffset, m_block.data(), m_block.size())) {
        error = "its pixels cannot be read from the file";
        return false;
    }
    if (layout.isCompressed && !decompress(image, layout, error))
        return false;
    const size_t count = size_t{image.width} * image.height;
    const uint32_t bytesPerPixel = layout.bitsPerPixel / 8;
    pixels.assign(count, 0);
    if (layout.zones.empty())
        unpack(m_block.data(), std::min(count, m_block.size() / bytesPerPixel), bytesPerPixel, pixels.data());
    else
        placeZones(m_block, layout, image.width, bytesPerPixel, pixels);
    return true;
}

} // namespace obriadv
