#include "ByteCursor.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace obriadv {

ByteCursor::ByteCursor(const ByteSource& source, uint64_t position, uint64_t end)
    : m_source(source), m_position(position), m_end(std::min(end, source.size()))
{
    m_ok = m_position <= m_end;
}

bool ByteCursor::bytes(void* to, size_t length)
{
    if (length > left())
        return m_ok = false;
    if (length > m_window.size()) {
        m_ok = m_source.read(m_position, to, length);
    } else {
        const bool held = m_position >= m_windowStart && m_position - m_windowStart + length <= m_windowLength;
        if (!held) {
            m_windowStart = m_position;
            m_windowLength = static_cast<size_t>(std::min<uint64_t>(m_window.size(), left()));
            if (!m_source.read(m_windowStart, m_window.data(), m_windowLength)) {
                m_windowLength = 0;
                return m_ok = false;
            }
        }
        memcpy(to, m_window.data() + (m_position - m_windowStart), length);
    }
    m_position += m_ok ? length : 0;
    return m_ok;
}

uint64_t ByteCursor::integer(int width)
{
    std::array<uint8_t, 8> stored{};
    if (!bytes(stored.data(), static_cast<size_t>(width)))
        return 0;
    uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i)
        value = value << 8 | stored[static_cast<size_t>(i)];
    return value;
}

float ByteCursor::f32()
{
    return std::bit_cast<float>(u32());
}

std::string ByteCursor::text()
{
    const uint16_t length = u16();
    if (length > left()) {
        m_ok = false;
        return {};
    }
    std::string value(length, '\0');
    if (length > 0 && !bytes(value.data(), length))
        return {};
    return value;
}

void ByteCursor::skip(uint64_t count)
{
    if (count > left())
        m_ok = false;
    else
        m_position += count;
}

} // namespace obriadv
