#include "LineQueue.h"

#include <csignal>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace libobribase {

std::unique_ptr<LineQueue> LineQueue::Start(FILE* stream)
{
    std::unique_ptr<LineQueue> queue(new LineQueue(stream));
    // Signals are the main thread's: the new thread is born with all of them blocked.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        queue->m_thread = std::thread(&LineQueue::Run, queue.get());
    } catch (const std::system_error&) {
        queue.reset();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return queue;
}

LineQueue::~LineQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_work.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void LineQueue::Add(const std::string& line)
{
    const std::lock_guard lock(m_mutex);
    m_lines += line;
    m_work.notify_one();
}

void LineQueue::Run()
{
    pthread_setname_np(pthread_self(), "log");
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_work.wait(lock, [this] { return !m_lines.empty() || m_isEnding; });
        const std::string lines = std::exchange(m_lines, {});
        if (lines.empty())
            return;
        lock.unlock();
        fputs(lines.c_str(), m_stream);
        fflush(m_stream);
        lock.lock();
    }
}

} // namespace libobribase
