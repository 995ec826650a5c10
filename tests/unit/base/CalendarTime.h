#pragma once

#include "DateTime.h"

#include <chrono>

/// A time of the standard library's calendar, broken down: what the conversions are held against.
inline libobribase::DateTime calendarTime(std::chrono::sys_time<std::chrono::milliseconds> time)
{
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    const auto number = [](auto count) { return static_cast<int32_t>(count); };
    return {number(static_cast<int>(date.year())),     number(static_cast<unsigned>(date.month())),
            number(static_cast<unsigned>(date.day())), number(clock.hours().count()),
            number(clock.minutes().count()),           number(clock.seconds().count()),
            number(clock.subseconds().count())};
}
