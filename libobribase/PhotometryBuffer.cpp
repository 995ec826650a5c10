#include "PhotometryBuffer.h"

#include <algorithm>
#include <cassert>

namespace libobribase {

PhotometryBuffer::PhotometryBuffer(int width, int height, int depth)
    : m_width(width), m_height(height), m_depth(depth),
      m_pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(depth))
{
    assert(width > 0 && height > 0 && depth > 0);
}

void PhotometryBuffer::Produce(const uint16_t* pixels, int rowStride)
{
    const std::lock_guard guard(m_lock);
    uint16_t* out = m_pixels.data() + m_produced % static_cast<uint64_t>(m_depth) * windowSize();
    for (int y = 0; y < m_height; ++y, pixels += rowStride)
        out = std::copy_n(pixels, m_width, out);
    ++m_produced;
}

bool PhotometryBuffer::read(int age, uint16_t* out) const
{
    const std::lock_guard guard(m_lock);
    if (age < 0 || age >= m_depth || static_cast<uint64_t>(age) >= m_produced)
        return false;
    const uint64_t number = m_produced - 1 - static_cast<uint64_t>(age);
    std::copy_n(m_pixels.data() + number % static_cast<uint64_t>(m_depth) * windowSize(), windowSize(), out);
    return true;
}

} // namespace libobribase
