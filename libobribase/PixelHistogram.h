#pragma once

#include <cstdint>

namespace libobribase {

/// Counts pixels in 1024 bins of 64 values each.
///
/// Four tables take turns: an increment would otherwise wait for the store of the one before whenever neighbours are
/// alike. They do not lie a multiple of 4096 bytes apart, because then the processor takes the bins of one for those
/// of another. Their counts are short, so that they leave room in the processor's first cache.
class PixelHistogram {
public:
    static constexpr int sTables = 4, sBins = 1024;
    static constexpr int sBinShift = 6;       ///< takes a pixel value to its bin
    static constexpr int sLongestRun = 65535; ///< pixels, which even a single bin could hold
    using Tables = uint16_t[sTables][sBins + 32];

    /// Starts at zero. bins receives sBins counts and is borrowed for the object's life.
    explicit PixelHistogram(uint64_t* bins);

    /// The tables to count at most sLongestRun pixels in, each pixel in one of them.
    Tables& tablesFor(int pixels);

    /// Brings the bins up to date.
    void addUp();

private:
    uint64_t* m_bins;
    Tables m_tables = {};
    int m_counted = 0; ///< pixels in the tables
};

} // namespace libobribase
