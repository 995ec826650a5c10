#include "StreamWatch.h"

#include <algorithm>
#include <cerrno>

using namespace std::chrono_literals;

namespace {

constexpr int sFailuresOfDeadStream = 3;

} // namespace

StreamWatch& streamWatch()
{
    static constinit StreamWatch watch;
    return watch;
}

void StreamWatch::streamStarted(Time now)
{
    m_lastSign = now;
    m_sawEmpty = false;
    m_failures = 0;
}

void StreamWatch::frameArrived(Time now)
{
    streamStarted(now);
    m_longestBeforeFrameMs = m_longestSinceFrameMs.exchange(m_exposureMs.load());
}

std::chrono::milliseconds StreamWatch::patience() const
{
    const std::chrono::milliseconds exposure(
        std::max({m_exposureMs.load(), m_longestSinceFrameMs.load(), m_longestBeforeFrameMs}));
    // A camera that has just begun an exposure when the setting changed, then reads it out, needs less than twice.
    return m_sawEmpty ? exposure + 1500ms : 2 * exposure + 3s;
}

EStreamVerdict StreamWatch::timedOut(Time now) const
{
    return now - m_lastSign > patience() ? EStreamVerdict::Dead : EStreamVerdict::Patience;
}

EStreamVerdict StreamWatch::dequeueFailed(int error)
{
    if (error == ENODEV)
        return EStreamVerdict::Unplugged;
    if (++m_failures < sFailuresOfDeadStream)
        return EStreamVerdict::Patience;
    m_failures = 0;
    return EStreamVerdict::Dead;
}

void StreamWatch::noteExposureTime(int ms)
{
    m_exposureMs.store(ms);
    m_longestSinceFrameMs.store(std::max(ms, m_longestSinceFrameMs.load()));
}
