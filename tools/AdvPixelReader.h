#pragma once

#include "AdvRecords.h"
#include "ByteSource.h"

#include <memory>

namespace libobrifile {
class Compressor;
}

namespace obriadv {

/// Turns pixel blocks into images. Keeps its scratch memory from frame to frame.
class AdvPixelReader {
public:
    AdvPixelReader();
    ~AdvPixelReader();

    /// The frame's pixels as width x height values, zero outside the regions of interest.
    /// False with a reason in error when the block does not fit its layout or cannot be decoded.
    bool read(const ByteSource& source, const SAdvImageSection& image, const SAdvLayout& layout, const SAdvFrame& frame,
              std::vector<uint16_t>& pixels, std::string& error);

private:
    bool decompress(const SAdvImageSection& image, const SAdvLayout& layout, std::string& error);

    std::vector<uint8_t> m_block;
    std::vector<uint16_t> m_samples;
    std::unique_ptr<libobrifile::Compressor> m_compressor;
    uint32_t m_samplesPerLine = 0;
};

} // namespace obriadv
