#pragma once

#include "AdvFile.h"

namespace obriadv {

/// Where to measure, in pixels; 0,0 is the middle of the top left pixel.
struct SAperture {
    double x = 0, y = 0;
    double radius = 5;
    double inner = 8, outer = 14; ///< the ring of sky around it
};

/// Empty for an aperture that can be measured with, else what is wrong with it.
std::string checkAperture(const SAperture& aperture);

struct SLightPoint {
    size_t frame = 0;
    uint32_t cameraFrameId = 0;
    int64_t midNs = 0; ///< middle of the exposure by its GPS times, ns since 2010
    int64_t exposureNs = 0;
    double flux = 0;          ///< sum over the aperture less the sky, in pixel values
    double sky = 0;           ///< per pixel
    double skySigma = 0;      ///< scatter of the ring's pixels
    uint16_t peak = 0;        ///< brightest pixel within the aperture
    bool isSaturated = false; ///< a pixel at the camera's limit, or beyond what its 12 bits hold
};

/// Measures a star in every frame. Pixels that the aperture covers in part count in part; the sky is the mean of the
/// ring's pixels without outliers. The last row, which carries the camera's data block, is never used.
///
/// @param skipped  the frames that cannot be decoded; they have no point.
///
/// Empty on success, else why it cannot be measured.
std::string measureLightCurve(AdvFile& file, const SAperture& aperture, std::vector<SLightPoint>& points,
                              std::vector<size_t>& skipped);

/// One line a frame behind a head line, times with microseconds.
std::string lightCurveCsv(const std::vector<SLightPoint>& points);

/// A drawing in letters, flux over seconds since the first frame.
std::string lightCurveText(const std::vector<SLightPoint>& points);

/// Draws it as a PNG file, which is never overwritten. Empty on success.
std::string lightCurvePng(const std::vector<SLightPoint>& points, const std::string& title, const std::string& path);

} // namespace obriadv
