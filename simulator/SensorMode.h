#pragma once
#include <cstdint>
#include <span>

namespace obrisim {

// The sensor: 1632 x 1240 pixels. Its widest mode leaves out four columns on either side.
constexpr int sSensorWidth = 1632, sSensorHeight = 1240;

/// One frame size of the camera: what travels, and which part of the sensor it shows.
struct SSensorMode {
    int words, height;    ///< as V4L2 names it: 16-bit words a line, lines
    int width;            ///< pixels a line
    int binning;          ///< sensor pixels per pixel, each way; a binned pixel is their mean
    int originX, originY; ///< sensor pixel shown in the top-left corner
    int64_t readoutNs;    ///< time to read one frame out: the shortest frame period

    bool isPacked() const { return width != words; } ///< 8 pixels in 12 bytes, else one word a pixel
    int64_t bytes() const { return int64_t{2} * words * height; }
};

/// The five frame sizes, in the order the camera lists them.
std::span<const SSensorMode> sensorModes();

/// The mode whose area in words and lines comes nearest to the one asked for.
const SSensorMode& nearestMode(uint32_t words, uint32_t height);

} // namespace obrisim
