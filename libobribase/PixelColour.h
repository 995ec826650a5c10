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

// Pixel values from which on a pixel counts as overflowing, bright or, in inverted images, dark.
constexpr int sYellowAbove = 58981, sRedAbove = 64224;
constexpr int sYellowBelow = 6555, sRedBelow = 1312;

/// The colour of a pixel, marked when the pixel overflows: bright ones lose blue, then green too; in an inverted
/// image dark ones gain red and green, the darkest only red.
constexpr uint32_t markedColour(uint32_t colour, int pixel, bool inverted)
{
    if (inverted)
        return pixel < sRedBelow ? colour | 0xFF0000 : pixel < sYellowBelow ? colour | 0xFFFF00 : colour;
    return pixel > sRedAbove ? colour & 0xFF0000 : pixel > sYellowAbove ? colour & 0xFFFF00 : colour;
}

/// Looks the colours of count pixels up in a table of 65536, and counts the pixels unless histogram is null.
/// One table access a pixel: the vector unit's gathering is no faster.
void colourPixels(const uint16_t* pixels, uint32_t* rgb, int count, const uint32_t* colours, PixelHistogram* histogram);

/// The colours of the camera's 12-bit samples alone. In the table for all pixel values every sample takes a whole
/// cache line, and the table as a whole does not fit into the processor's first cache; this one does. Worth its
/// making on large frames.
class SampleColours {
public:
    static constexpr int sSamples = 4096;
    static constexpr int sLongestRun = 4096; ///< pixels

    /// From the colours of all pixel values, for pixels that are marked if they overflow and showOverflow says so.
    SampleColours(const uint32_t* colours, bool showOverflow, bool inverted);

    /// As colourPixels, for at most sLongestRun pixels whose low four bits are zero. False, with nothing done, when
    /// some are not.
    bool colourPixels(const uint16_t* pixels, uint32_t* rgb, int count, PixelHistogram* histogram) const;

private:
    uint32_t m_colours[sSamples];
};

} // namespace libobribase
