#include "Monitor.h"

#include <ctime>

namespace obrisim {

Monitor::Monitor()
{
    pthread_mutexattr_t protocol;
    pthread_mutexattr_init(&protocol);
    pthread_mutexattr_setprotocol(&protocol, PTHREAD_PRIO_INHERIT);
    pthread_mutex_init(&m_mutex, &protocol);
    pthread_mutexattr_destroy(&protocol);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_changed, &attributes);
    pthread_condattr_destroy(&attributes);
}

Monitor::~Monitor()
{
    pthread_cond_destroy(&m_changed);
    pthread_mutex_destroy(&m_mutex);
}

void Monitor::waitUntil(int64_t monotonicNs)
{
    timespec until{};
    until.tv_sec = monotonicNs / 1'000'000'000;
    until.tv_nsec = monotonicNs % 1'000'000'000;
    pthread_cond_timedwait(&m_changed, &m_mutex, &until);
}

} // namespace obrisim
