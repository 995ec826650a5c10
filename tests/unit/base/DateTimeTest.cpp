#include "DateTime.h"

#include "CalendarTime.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace libobribase;
using namespace std::chrono;

namespace {
constexpr unsigned long sBegin = 1262304000, sEnd = 2808601200;

timespec sClock{}; // the computer's, while not zero
} // namespace

/// Stands in for the C library's.
extern "C" int timespec_get(timespec* out, int base) noexcept
{
    *out = sClock;
    return sClock.tv_sec == 0 && clock_gettime(CLOCK_REALTIME, out) != 0 ? 0 : base;
}

// In universal time, whatever the time zone, to the millisecond and never rounded up.
TEST(Now, IsTheSystemsClock)
{
    auto time = floor<milliseconds>(system_clock::now());
    DateTime now;
    for (DateTime::Now(&now); calendarTime(time) != now && time < system_clock::now();)
        time += 1ms;
    EXPECT_EQ(calendarTime(time), now);
}

TEST(Now, StopsAtTheRangesEnds)
{
    constexpr sys_days sMidnights[] = {2010y / January / 1, 2024y / February / 29, 2024y / March / 1,
                                       2058y / January / 1, 2058y / December / 31, 2059y / January / 1};
    for (const sys_seconds midnight : sMidnights)
        for (const seconds second : {-3601s, -3600s, -1s, 0s}) {
            const sys_seconds time = midnight + second;
            sClock = {time.time_since_epoch().count(), 999'999'999};
            const auto seconds = static_cast<unsigned long>(sClock.tv_sec);
            DateTime now{1, 2, 3, 4, 5, 6, 7};
            DateTime::Now(&now);
            EXPECT_EQ(now, seconds >= sBegin && seconds < sEnd ? calendarTime(time + 999ms)
                                                               : (DateTime{1, 2, 3, 4, 5, 6, 999}));
        }
    sClock = {};
}

// Every day of the range, so every leap day and every turn of a month and a year, at its ends and inside.
// The way back ends one hour before the tables do.
TEST(UnixTime, AgreesWithTheCalendarOnEveryDayBothWays)
{
    for (sys_days day = 2010y / January / 1; day < 2059y / January / 1; day += days(1)) {
        for (const int second : {0, 3599, 3600, 45296, 82799, 82800, 86399}) {
            const sys_seconds time = day + seconds(second);
            const auto ts = static_cast<unsigned long>(time.time_since_epoch().count());
            const DateTime e = calendarTime(time);
            unsigned long forth = 0;
            ASSERT_TRUE(unixTimestampFromYmdHms_2010_2058(&forth, e.year, e.month, e.day, e.hour, e.minute, e.second));
            ASSERT_EQ(forth, ts);
            DateTime t;
            ASSERT_EQ(unixTimestampToYmdHms_2010_2058(ts, &t.year, &t.month, &t.day, &t.hour, &t.minute, &t.second),
                      ts < sEnd);
            ASSERT_EQ(t, ts < sEnd ? e : DateTime{}) << ts;
        }
    }
}

TEST(UnixTime, RefusesWhatLiesOutsideTheTables)
{
    int field = 0;
    EXPECT_FALSE(unixTimestampToYmdHms_2010_2058(sBegin - 1, &field, &field, &field, &field, &field, &field));
    EXPECT_FALSE(unixTimestampToYmdHms_2010_2058(sBegin, &field, nullptr, &field, &field, &field, &field));
    unsigned long ts = 7;
    for (const auto& [year, month] : {std::pair{2009, 12}, {2059, 1}, {2024, -1}, {2024, 0}, {2024, 13}, {2024, 255}})
        EXPECT_FALSE(unixTimestampFromYmdHms_2010_2058(&ts, year, month, 1, 0, 0, 0)); // a damaged overlay may say so
    EXPECT_EQ(ts, 7u);
}

TEST(FileTime, TurnsBackAndKeepsMillisecondsAlsoOnFailure)
{
    unsigned long ticks = 0;
    DateTime t{2010, 1, 1, 0, 0, 0, 123};
    EXPECT_TRUE(fileTime100nsFromYmdHms_2010_2058(&ticks, &t));
    EXPECT_EQ(ticks, sFileTimeOfUnixEpoch + sBegin * 10000000 + 1230000);
    DateTime back;
    EXPECT_TRUE(fileTime100nsToYmdHms_2010_2058(ticks, &back));
    EXPECT_EQ(back, t);
    EXPECT_FALSE(fileTime100nsToYmdHms_2010_2058(sFileTimeOfUnixEpoch, &back));
    EXPECT_EQ(DotNetTimeToDateTimeString(static_cast<long>(ticks + sDotNetTicksOfFileTimeEpoch)),
              "01.01.2010 00:00:00 UT");
    t.year = 2009;
    EXPECT_FALSE(fileTime100nsFromYmdHms_2010_2058(&ticks, &t));
    EXPECT_EQ(ticks, sFileTimeOfUnixEpoch + 1230000);
}
