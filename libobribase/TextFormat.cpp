#include "TextFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace libobribase {

namespace {

constexpr double sMaxAngle = 1e6; // far beyond any angle; keeps the integers below from overflowing

struct SSexagesimal {
    long long whole;
    int minutes;
    int seconds;
    long long fraction; // in units of the last digit shown
};

// Rounds to the last digit first, so that 59.96 seconds carry into the minute.
SSexagesimal split(double magnitude, int decimals)
{
    const long long unit = std::llround(std::pow(10, decimals));
    const long long total = std::llround(magnitude * 3600 * static_cast<double>(unit));
    const long long seconds = total / unit;
    return {seconds / 3600, static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60), total % unit};
}

std::string text(const SSexagesimal& angle, int wholeDigits, int decimals)
{
    char out[64];
    snprintf(out, sizeof out, "%0*lld %02d %02d.%0*lld", wholeDigits, angle.whole, angle.minutes, angle.seconds,
             decimals, angle.fraction);
    return out;
}

bool isAngle(double value)
{
    return std::isfinite(value) && std::fabs(value) <= sMaxAngle;
}

std::string withHemisphere(double degrees, int wholeDigits, char positive, char negative)
{
    if (!isAngle(degrees))
        return {};
    return text(split(std::fabs(degrees), 1), wholeDigits, 1) + ' ' + (degrees < 0 ? negative : positive);
}

} // namespace

std::string formatFixed(double value, int decimals, int width)
{
    char digits[512]; // the largest double has 309 digits before the point
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, std::clamp(decimals, 0, 150));
    std::string number(digits, end.ptr);
    if (static_cast<int>(number.size()) < width)
        number.insert(0, static_cast<size_t>(width) - number.size(), ' ');
    return number;
}

bool parseDouble(std::string_view text, double* out)
{
    const size_t digits = text.find_first_not_of("+-");
    if (digits > 1 || text[digits] == 'i' || text[digits] == 'I' || text[digits] == 'n' || text[digits] == 'N')
        return false; // no number, or "inf" and "nan", which from_chars would take
    if (text[0] == '+')
        text.remove_prefix(1);
    double value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc())
        return false;
    *out = value;
    return true;
}

std::string ReplaceString(std::string text, std::string_view from, std::string_view to)
{
    if (from.empty())
        return text;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string formatRightAscension(double hours)
{
    if (!isAngle(hours))
        return {};
    double inDay = std::fmod(hours, 24);
    if (inDay < 0)
        inDay += 24;
    SSexagesimal angle = split(inDay, 2);
    angle.whole %= 24; // 23 59 59.999 rounds up to midnight
    return text(angle, 2, 2);
}

std::string formatDeclination(double degrees)
{
    if (!isAngle(degrees))
        return {};
    return (degrees < 0 ? '-' : '+') + text(split(std::fabs(degrees), 1), 2, 1);
}

std::string formatLatitude(double degrees)
{
    return withHemisphere(degrees, 2, 'N', 'S');
}

std::string formatLongitude(double degrees)
{
    return withHemisphere(degrees, 3, 'E', 'W');
}

} // namespace libobribase
