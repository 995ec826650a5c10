#pragma once

#include <cstdint>
#include <string>

namespace libobribase {

/// Broken-down UTC time, without time zones and leap seconds. A plain record; zero until filled.
struct DateTime {
    int32_t year = 0;  ///< 2010..2058 where it comes from a conversion
    int32_t month = 0; ///< 1..12
    int32_t day = 0;   ///< 1..31
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
    int32_t milliseconds = 0; ///< 0..999

    /// The computer's clock, milliseconds truncated. A clock outside 2010..2058 leaves year to second as they were.
    static void Now(DateTime* out);

    bool operator==(const DateTime&) const = default;
};

/// 100 ns ticks from 1601-01-01 (file time) to 1970-01-01 (Unix epoch).
constexpr uint64_t sFileTimeOfUnixEpoch = 0x019DB1DED53E8000;
/// 100 ns ticks from 0001-01-01 (.NET time) to 1601-01-01.
constexpr uint64_t sDotNetTicksOfFileTimeEpoch = 0x0701CE1722770000;

// The conversions below are reentrant and may run on any thread. All hold for the years 2010 to 2058 only.

/// Unix seconds of a calendar time. False, with *out untouched, when out is null, the year outside 2010..2058 or the
/// month outside 1..12. Day, hour, minute and second are simply added.
bool unixTimestampFromYmdHms_2010_2058(unsigned long* out, int year, int month, int day, int hour, int minute,
                                       int second);

/// Calendar time of Unix seconds. False, with nothing written, when a date pointer is null or the time lies outside
/// 2010-01-01 00:00:00 .. 2058-12-31 22:59:59 (the last hour of 2058 is refused on purpose).
/// A null hour, minute or second pointer asks for the date alone.
bool unixTimestampToYmdHms_2010_2058(unsigned long ts, int* year, int* month, int* day, int* hour, int* minute,
                                     int* second);

/// Calendar time of a file time (100 ns ticks since 1601). The milliseconds are written even when it returns false.
bool fileTime100nsToYmdHms_2010_2058(unsigned long fileTime, DateTime* out);

/// File time of a calendar time. *out is always written: when false is returned it holds the Unix epoch's file time
/// plus the milliseconds.
bool fileTime100nsFromYmdHms_2010_2058(unsigned long* out, DateTime* in);

/// "31.12.2024 23:59:58 UT" of .NET ticks (100 ns since 0001-01-01); zeros outside 2010..2058.
std::string DotNetTimeToDateTimeString(long ticks);

/// "31/12/2024 23:59:58" of .NET ticks; zeros outside 2010..2058.
std::string DotNetTimeToDateTimeString2(long ticks);

/// "25:01:01.001" of a duration in milliseconds; hours run past 24.
std::string MillisecondsToDateTimeString(unsigned long ms);

/// "1.234" of a duration in milliseconds.
std::string MillisecondsToSecondsString(unsigned long ms);

} // namespace libobribase
