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
    ResetAt(t.seconds, t.nanoseconds);
}

uint64_t PerformanceUtil::MeasureMicroseconds()
{
    const SInstant t = now();
    return MeasureMicrosecondsAt(t.seconds, t.nanoseconds);
}

void PerformanceUtil::ResetAt(uint64_t seconds, uint64_t nanoseconds)
{
    m_seconds = seconds;
    m_nanoseconds = nanoseconds;
}

uint64_t PerformanceUtil::MeasureMicrosecondsAt(uint64_t seconds, uint64_t nanoseconds)
{
    uint64_t secondsPassed = seconds - m_seconds;
    if (nanoseconds < m_nanoseconds) {
        nanoseconds += 1000000000;
        secondsPassed -= 1;
    }
    const uint64_t nanosecondsPassed = nanoseconds - m_nanoseconds;
    // The borrowed second stays in the stored nanoseconds, on purpose: see the header.
    ResetAt(seconds, nanoseconds);
    return nanosecondsPassed / 1000 + secondsPassed * 1000000;
}

} // namespace libobribase
