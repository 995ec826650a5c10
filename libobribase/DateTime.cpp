#include "DateTime.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace libobribase {

namespace {

constexpr int sFirstYear = 2010, sLastYear = 2058;
constexpr unsigned long sFirstUnixSecond = 1262304000; // 2010-01-01 00:00:00
constexpr unsigned long sLastUnixSecond = 2808601199;  // 2058-12-31 22:59:59
constexpr unsigned long sSecondsPerDay = 86400;

// No century rule: none falls into the supported years.
constexpr bool isLeapYear(int year)
{
    return (year & 3) == 0;
}

// Days from 2010-01-01 to 1 January of 2010 + i; one entry beyond the last year, to end the search.
constexpr auto sYearOffsetsInDaysSince2010 = [] {
    std::array<int32_t, sLastYear - sFirstYear + 2> days{};
    for (size_t i = 1; i < days.size(); ++i)
        days[i] = days[i - 1] + (isLeapYear(sFirstYear + static_cast<int>(i) - 1) ? 366 : 365);
    return days;
}();
static_assert(sYearOffsetsInDaysSince2010[3] == 1096 && sYearOffsetsInDaysSince2010[49] == 17897);

using MonthOffsets = std::array<int32_t, 13>; // days before the first of each month, then the year's length
constexpr MonthOffsets sMonthOffsetsInDays365{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
constexpr MonthOffsets sMonthOffsetsInDays366{0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366};

constexpr const MonthOffsets& monthOffsets(int year)
{
    return isLeapYear(year) ? sMonthOffsetsInDays366 : sMonthOffsetsInDays365;
}

DateTime dateTimeOfDotNetTicks(long ticks)
{
    DateTime time;
    fileTime100nsToYmdHms_2010_2058(static_cast<unsigned long>(ticks) - sDotNetTicksOfFileTimeEpoch, &time);
    return time;
}

} // namespace

void DateTime::Now(DateTime* out)
{
    timespec now{};
    timespec_get(&now, TIME_UTC);
    unixTimestampToYmdHms_2010_2058(static_cast<unsigned long>(now.tv_sec), &out->year, &out->month, &out->day,
                                    &out->hour, &out->minute, &out->second);
    out->milliseconds = static_cast<int32_t>(now.tv_nsec / 1000000);
}

bool unixTimestampFromYmdHms_2010_2058(unsigned long* out, int year, int month, int day, int hour, int minute,
                                       int second)
{
    // The month indexes a table, and may come from a damaged overlay.
    if (!out || year < sFirstYear || year > sLastYear || month < 1 || month > 12)
        return false;
    const int64_t days = int64_t{sYearOffsetsInDaysSince2010[static_cast<size_t>(year - sFirstYear)]} +
                         monthOffsets(year)[static_cast<size_t>(month - 1)] + day - 1;
    *out = static_cast<unsigned long>(days) * sSecondsPerDay + static_cast<unsigned long>(hour) * 3600 +
           static_cast<unsigned long>(minute) * 60 + static_cast<unsigned long>(second) + sFirstUnixSecond;
    return true;
}

bool unixTimestampToYmdHms_2010_2058(unsigned long ts, int* year, int* month, int* day, int* hour, int* minute,
                                     int* second)
{
    if (!year || !month || !day || ts < sFirstUnixSecond || ts > sLastUnixSecond)
        return false;
    const unsigned long seconds = ts - sFirstUnixSecond;
    const int days = static_cast<int>(seconds / sSecondsPerDay);
    const int secondOfDay = static_cast<int>(seconds % sSecondsPerDay);

    size_t y = static_cast<size_t>(days / 366); // never too late a year, and at most one too early
    while (days >= sYearOffsetsInDaysSince2010[y + 1])
        ++y;
    *year = sFirstYear + static_cast<int>(y);
    const int dayOfYear = days - sYearOffsetsInDaysSince2010[y];

    const MonthOffsets& offsets = monthOffsets(*year);
    size_t m = static_cast<size_t>(dayOfYear / 31); // likewise
    while (offsets[m + 1] <= dayOfYear)
        ++m;
    *month = static_cast<int>(m) + 1;
    *day = dayOfYear - offsets[m] + 1;

    if (!hour || !minute || !second)
        return true;
    *hour = secondOfDay / 3600;
    *minute = secondOfDay % 3600 / 60;
    *second = secondOfDay % 60;
    return true;
}

bool fileTime100nsToYmdHms_2010_2058(unsigned long fileTime, DateTime* out)
{
    const unsigned long ticks = fileTime - sFileTimeOfUnixEpoch;
    const unsigned long seconds = ticks / 10000000;
    const bool ok = unixTimestampToYmdHms_2010_2058(seconds, &out->year, &out->month, &out->day, &out->hour,
                                                    &out->minute, &out->second);
    out->milliseconds = static_cast<int32_t>(ticks / 10000 - seconds * 1000);
    return ok;
}

bool fileTime100nsFromYmdHms_2010_2058(unsigned long* out, DateTime* in)
{
    unsigned long seconds = 0;
    const bool ok =
        unixTimestampFromYmdHms_2010_2058(&seconds, in->year, in->month, in->day, in->hour, in->minute, in->second);
    *out = seconds * 10000000 + static_cast<unsigned long>(in->milliseconds) * 10000 + sFileTimeOfUnixEpoch;
    return ok;
}

std::string DotNetTimeToDateTimeString(long ticks)
{
    const DateTime t = dateTimeOfDotNetTicks(ticks);
    char text[256];
    snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d:%02d UT", t.day, t.month, t.year, t.hour, t.minute, t.second);
    return text;
}

std::string DotNetTimeToDateTimeString2(long ticks)
{
    const DateTime t = dateTimeOfDotNetTicks(ticks);
    char text[256];
    snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d", t.day, t.month, t.year, t.hour, t.minute, t.second);
    return text;
}

std::string MillisecondsToDateTimeString(unsigned long ms)
{
    char text[256];
    snprintf(text, sizeof text, "%02lu:%02lu:%02lu.%03lu", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
    return text;
}

std::string MillisecondsToSecondsString(unsigned long ms)
{
    char text[256];
    snprintf(text, sizeof text, "%lu.%03lu", ms / 1000, ms % 1000);
    return text;
}

} // namespace libobribase
