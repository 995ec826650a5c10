#include "AdvTime.h"

#include "NumberText.h"

#include <chrono>
#include <cstdio>

namespace obriadv {

namespace {

using namespace std::chrono;

constexpr sys_days sEpoch = sys_days(2010y / January / 1);
constexpr int64_t sNsPerDay = 86400 * sNsPerSecond;

} // namespace

std::string isoTime(int64_t ns, int decimals)
{
    int64_t day = ns / sNsPerDay;
    int64_t rest = ns % sNsPerDay;
    if (rest < 0) { // before 2010: the day begins earlier
        --day;
        rest += sNsPerDay;
    }
    const year_month_day date(sEpoch + days(day));
    const auto second = static_cast<int>(rest / sNsPerSecond);
    char text[64];
    snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%09d", static_cast<int>(date.year()),
             static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), second / 3600, second / 60 % 60,
             second % 60, static_cast<int>(rest % sNsPerSecond));
    std::string iso(text);
    iso.resize(iso.size() - 9 + static_cast<size_t>(decimals));
    if (decimals == 0)
        iso.pop_back(); // the point
    return iso;
}

bool parseIsoTime(std::string_view text, int64_t& ns)
{
    constexpr std::string_view sPattern = "0000-00-00T00:00:00";
    if (text.size() < sPattern.size())
        return false;
    int fields[6];
    constexpr struct {
        size_t at, length;
    } sFields[] = {{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}};
    for (size_t i = 0; i < 6; ++i)
        if (!parseInteger(text.substr(sFields[i].at, sFields[i].length), fields[i]) || fields[i] < 0)
            return false;
    for (size_t i = 0; i < sPattern.size(); ++i)
        if (sPattern[i] != '0' && text[i] != sPattern[i])
            return false;
    const year_month_day date{year{fields[0]}, month{static_cast<unsigned>(fields[1])},
                              day{static_cast<unsigned>(fields[2])}};
    if (!date.ok() || fields[0] < 1800 || fields[0] > 2200 || fields[3] > 23 || fields[4] > 59 || fields[5] > 60)
        return false;
    std::string_view decimals = text.substr(sPattern.size());
    int64_t fraction = 0;
    if (!decimals.empty()) {
        std::string digits(decimals.substr(1, 9));
        digits.resize(9, '0');
        if (decimals[0] != '.' || !parseInteger(digits, fraction) || fraction < 0)
            return false;
    }
    const int64_t daysSince = (sys_days(date) - sEpoch).count();
    ns =
        (daysSince * 86400 + int64_t{fields[3]} * 3600 + int64_t{fields[4]} * 60 + fields[5]) * sNsPerSecond + fraction;
    return true;
}

bool isPlausibleTime(int64_t ns)
{
    constexpr int64_t sEnd = (sys_days(2059y / January / 1) - sEpoch).count() * sNsPerDay;
    return ns >= 0 && ns < sEnd;
}

} // namespace obriadv
