#include "Clock.h"

#include <ctime>

namespace obrisim {

static int64_t read(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int64_t monotonicNs()
{
    return read(CLOCK_MONOTONIC);
}

int64_t realTimeNs()
{
    return read(CLOCK_REALTIME);
}

} // namespace obrisim
