#include "Attendance.h"

#include "Clock.h"

#include <algorithm>
#include <fstream>
#include <pthread.h>
#include <string>
#include <unistd.h>

namespace obrisim {

/// The kernel's letter for what a thread of this process is doing; '-' when it does not say.
static char stateOf(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t name = line.rfind(')'); // which may hold anything
    return name != std::string::npos && name + 2 < line.size() ? line[name + 2] : '-';
}

// 0 for a thread that is no more: its clock went with it.
int64_t Attendance::processorNs() const
{
    timespec used{};
    if (m_thread == 0 || clock_gettime(m_processorClock, &used) != 0)
        return 0;
    return int64_t{used.tv_sec} * 1'000'000'000 + used.tv_nsec;
}

int64_t Attendance::gapUntil(int64_t nowNs) const
{
    return nowNs - m_visitNs - (processorNs() - m_ranUntilVisit);
}

void Attendance::frameBegun()
{
    m_ranUntilBegun = processorNs();
}

void Attendance::frameFinished(int64_t sinceNs)
{
    if (!m_isLevel)
        return;
    m_isLevel = false;
    m_beganNs = sinceNs;
    m_ranBeforeNs = m_ranUntilBegun;
    if (m_visitNs < sinceNs) {
        m_visitNs = sinceNs;
        m_ranUntilVisit = m_ranUntilBegun;
    }
    m_longestGapNs = m_handled = 0;
}

void Attendance::programGaveBack(bool isLevel)
{
    programCame();
    m_isLevel = isLevel;
    ++m_handled;
}

void Attendance::programCame()
{
    const int64_t now = monotonicNs();
    if (gettid() != m_thread) {
        m_thread = gettid();
        pthread_getcpuclockid(pthread_self(), &m_processorClock);
        m_ranUntilBegun = m_ranBeforeNs = m_ranUntilVisit = processorNs();
    }
    m_longestGapNs = std::max(m_longestGapNs, gapUntil(now));
    m_visitNs = now;
    m_ranUntilVisit = processorNs();
}

SBacklog Attendance::backlog(const std::atomic<pid_t>& caller) const
{
    const int64_t now = monotonicNs();
    const char state = stateOf(m_thread); // first: it may come in meanwhile, and wait for this thread
    return {now - m_beganNs, m_handled, processorNs() - m_ranBeforeNs, std::max(m_longestGapNs, gapUntil(now)),
            state == 'S' && caller == m_thread ? 'C' : state};
}

} // namespace obrisim
