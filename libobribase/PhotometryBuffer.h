#pragma once

#include "InheritingMutex.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace libobribase {

/// The last few images of a small window around the target, for light curves. Any thread.
class PhotometryBuffer {
public:
    /// Windows of width x height pixels, depth of them kept; all at least 1.
    PhotometryBuffer(int width, int height, int depth);

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Stores one window, over the oldest when full.
    /// @param pixels    the window's first pixel within a frame that holds all its height rows
    /// @param rowStride pixels from one row of the frame to the next
    void Produce(const uint16_t* pixels, int rowStride);

    /// Copies a window, row by row, width * height pixels. age 0 is the newest; false when none of that age is kept.
    bool read(int age, uint16_t* out) const;

private:
    size_t windowSize() const { return static_cast<size_t>(m_width) * static_cast<size_t>(m_height); }

    const int m_width;
    const int m_height;
    const int m_depth;
    mutable InheritingMutex m_lock;
    uint64_t m_produced = 0;
    std::vector<uint16_t> m_pixels; ///< depth windows, used in turn
};

} // namespace libobribase
