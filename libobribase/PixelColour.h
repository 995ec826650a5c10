#pragma once

#include "PixelHistogram.h"

#include <cstdint>

namespace libobribase {

/// Takes a 12-bit sample to the bin of its pixel.
constexpr int sSampleBinShift = PixelHistogram::sBinShift - 4;

/// From one grey 0x00RRGGBB to the next.
constexpr uint32_t sGreyStep = 0x010101;

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

    /// From the colours 0x00RRGGBB of all pixel values, for pixels that are marked if they overflow and showOverflow
    /// says so.
    SampleColours(const uint32_t* colours, bool showOverflow, bool inverted);

    /// As colourPixels, for at most sLongestRun pixels whose low four bits are zero. False, with nothing done, when
    /// some are not.
    bool colourPixels(const uint16_t* pixels, uint32_t* rgb, int count, PixelHistogram* histogram) const;

private:
    uint32_t m_colours[sSamples];
    /// The same where they are greys: a frame that holds every sample would otherwise drive the counts out of the
    /// first cache.
    uint8_t m_greys[sSamples];
    bool m_areGreys = true;
};

} // namespace libobribase
