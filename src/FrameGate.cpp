#include "FrameGate.h"

FrameGate& frameGate()
{
    // Never destroyed: the streaming thread runs until the process ends.
    static auto* const gate = new FrameGate;
    return *gate;
}

void FrameGate::enterControl()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_depth == 0 || m_owner != std::this_thread::get_id()) {
        ++m_waiting;
        m_freed.wait(lock, [this] { return m_depth == 0; });
        --m_waiting;
        m_owner = std::this_thread::get_id();
    }
    ++m_depth;
}

bool FrameGate::enterFrame(uint64_t session)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_freed.wait(lock, [this] { return m_depth == 0 && m_waiting == 0; });
    if (m_closed.load() || session == 0 || session != m_session.load())
        return false;
    m_owner = std::this_thread::get_id();
    m_depth = 1;
    return true;
}

void FrameGate::leave()
{
    const std::lock_guard lock(m_mutex);
    if (--m_depth == 0)
        m_freed.notify_all();
}

void FrameGate::abandon()
{
    const std::lock_guard lock(m_mutex);
    if (m_depth == 0 || m_owner != std::this_thread::get_id())
        return;
    m_depth = 0;
    m_freed.notify_all();
}

void FrameGate::openSession()
{
    m_session.store(++m_sessionsOpened);
}

void FrameGate::endSession()
{
    m_session.store(0);
}

void FrameGate::closeForGood()
{
    const Control control(*this);
    m_closed.store(true);
}
