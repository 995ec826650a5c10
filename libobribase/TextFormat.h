#pragma once

#include <string>
#include <string_view>

// Text of numbers and coordinates, independent of the locale. Everything here: any thread.

namespace libobribase {

/// As printf's "%<width>.<decimals>f" in the C locale: always a decimal point, padded with blanks on the left.
std::string formatFixed(double value, int decimals, int width = 0);

/// Reads a decimal number with a point, ignoring what follows it. False when the text does not begin with one.
bool parseDouble(std::string_view text, double* out);

/// Replaces every occurrence of from, left to right, not looking into replacements. An empty from changes nothing.
std::string ReplaceString(std::string text, std::string_view from, std::string_view to);

// Coordinates as report forms want them: rounded to the last digit shown, carried into minutes and degrees.

/// "05 34 31.97": hours, minutes, seconds of a right ascension in hours, brought into 0 <= hours < 24.
std::string formatRightAscension(double hours);
/// "+22 00 52.1", "-00 00 30.0": degrees, minutes, seconds of a declination in degrees.
std::string formatDeclination(double degrees);
/// "47 22 10.1 N": latitude in degrees, south negative.
std::string formatLatitude(double degrees);
/// "008 32 15.6 E": longitude in degrees, west negative.
std::string formatLongitude(double degrees);

} // namespace libobribase
