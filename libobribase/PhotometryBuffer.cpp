#include "PhotometryBuffer.h"

#include <algorithm>
#include <cassert>
#include <numeric>

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

uint64_t PhotometryBuffer::producedCount() const
{
    const std::lock_guard guard(m_lock);
    return m_produced;
}

const uint16_t* PhotometryBuffer::window(int age) const
{
    if (age < 0 || age >= m_depth || static_cast<uint64_t>(age) >= m_produced)
        return nullptr;
    const uint64_t number = m_produced - 1 - static_cast<uint64_t>(age);
    return m_pixels.data() + number % static_cast<uint64_t>(m_depth) * windowSize();
}

bool PhotometryBuffer::read(int age, uint16_t* out) const
{
    const std::lock_guard guard(m_lock);
    const uint16_t* pixels = window(age);
    if (pixels)
        std::copy_n(pixels, windowSize(), out);
    return pixels != nullptr;
}

uint64_t PhotometryBuffer::sum(int age) const
{
    const std::lock_guard guard(m_lock);
    const uint16_t* pixels = window(age);
    return pixels ? std::accumulate(pixels, pixels + windowSize(), uint64_t{0}) : 0;
}

} // namespace libobribase
