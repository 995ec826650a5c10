#pragma once

#include "AdvRecords.h"

namespace obriadv {

/// Little-endian bytes of a recording, appended one value at a time.
class ByteBuilder {
public:
    void u8(uint8_t value) { integer(value, 1); }
    void u16(uint16_t value) { integer(value, 2); }
    void u32(uint32_t value) { integer(value, 4); }
    void u64(uint64_t value) { integer(value, 8); }
    /// Behind its 16-bit length; what was read from a recording always fits.
    void text(const std::string& value);
    void tag(const SAdvTag& tag);
    void patchU64(size_t at, uint64_t value);

    size_t size() const { return m_bytes.size(); }
    const std::vector<uint8_t>& bytes() const { return m_bytes; }

private:
    void integer(uint64_t value, int width);

    std::vector<uint8_t> m_bytes;
};

/// The time of a frame's index entry: 100 ns from the start of its stream's first frame, as a number of two's
/// complement where that comes later. Hostile times wrap.
uint64_t indexTicks(const SAdvFrame& first, const SAdvFrame& frame);

/// Everything up to the first frame record, its sections one behind the other. The offsets of index and user
/// metadata are 0, the stream counts as given; each stream's countAt is set to where its count stands.
std::vector<uint8_t> headerBytes(SAdvHeader& header);

/// Index (with full 64-bit values) and user metadata as they follow the last frame. Frames of stream 1 go to the
/// calibration table. userMetadataAt gets the distance of the user metadata from the index's first byte.
std::vector<uint8_t> trailerBytes(const std::vector<SAdvFrame>& frames, const std::vector<SAdvTag>& userMetadata,
                                  uint64_t& userMetadataAt);

} // namespace obriadv
