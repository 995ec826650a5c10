#pragma once

#include "ByteSource.h"

#include <array>

namespace obriadv {

/// Reads little-endian values one after the other from a stretch of a source.
///
/// The first read that would leave the stretch, or that fails, makes the cursor fail for good: that and every
/// later value is zero or empty. So a whole structure is read first and ok() asked once.
class ByteCursor {
public:
    /// Reads from position up to, not including, end (cut to the source's size).
    ByteCursor(const ByteSource& source, uint64_t position, uint64_t end);

    bool ok() const { return m_ok; }
    uint64_t position() const { return m_position; }
    uint64_t left() const { return m_ok ? m_end - m_position : 0; }

    uint8_t u8() { return static_cast<uint8_t>(integer(1)); }
    uint16_t u16() { return static_cast<uint16_t>(integer(2)); }
    uint32_t u32() { return static_cast<uint32_t>(integer(4)); }
    uint64_t u64() { return integer(8); }
    float f32();

    /// A string behind its 16-bit length.
    std::string text();

    void skip(uint64_t bytes);

private:
    uint64_t integer(int width);
    bool bytes(void* to, size_t length);

    const ByteSource& m_source;
    uint64_t m_position;
    uint64_t m_end;
    bool m_ok = true;
    // Small values come through this window, so that a header costs few reads.
    std::array<uint8_t, 512> m_window{};
    uint64_t m_windowStart = 0;
    size_t m_windowLength = 0;
};

} // namespace obriadv
