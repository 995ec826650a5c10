#pragma once
#include "Options.h"

#include <string>

namespace obrisim {

/// What the camera will show: the target's place in each frame size (before any flip) and the stars on
/// the sensor, a line each. Throws std::runtime_error when the scene cannot be made.
std::string sceneText(const SOptions& options);

/// "target 1624x1240 X Y" for each frame size.
std::string targetLines(const char* before);

/// A number below 10^50 with a decimal point, also in programs whose locale has a comma.
std::string decimal(double value, int decimals = 3);

} // namespace obrisim
