#pragma once
#include "SensorMode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace obrisim {

/// A star: centre in sensor pixels (the middle of the top-left pixel is 0, 0), light in electrons a second.
struct SStar {
    double x = 0, y = 0, electronsPerSecond = 0;
};

// The target stands where every frame size sees it, near the middle of the sensor.
constexpr SStar sTarget{792.3, 603.6, 20000.0};

/// The light that falls on the sensor: the sky with its stars, the target kept apart.
struct SSky {
    std::vector<float> rates; ///< electrons a second, sSensorWidth x sSensorHeight, without the target
    std::vector<SStar> stars; ///< without the target; empty for a picture
};

/// A star field: always the same one for a seed.
SSky makeStarField(uint64_t seed);

/// A FITS picture as the sky, mirrored until it fills the sensor, its brightness fitted to the camera.
/// Throws std::runtime_error when the file is of no use.
SSky makeSkyFromFits(const std::string& path);

/// The part of a star's light that falls on the pixel whose middle is dx, dy away from the star.
double pointSpread(double dx, double dy);
constexpr int sSpreadRadius = 8; ///< pixels; beyond it the light is left out

/// Where the target is in a mode's own pixels, before any flip.
struct SPosition {
    double x, y;
};
SPosition targetIn(const SSensorMode& mode);

} // namespace obrisim
