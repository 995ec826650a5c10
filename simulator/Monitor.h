#pragma once
#include <cstdint>
#include <pthread.h>

namespace obrisim {

/// A mutex with one condition, whose timed wait follows the monotonic clock. Whoever owns it runs with the real-time
/// priority of who waits for it.
///
/// std::condition_variable waits through pthread_cond_clockwait, which the thread sanitizers of the
/// programs we are loaded into do not know: they would see two owners of one mutex.
class Monitor {
public:
    Monitor();
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // A Lockable, for std::lock_guard and std::unique_lock.
    void lock() { pthread_mutex_lock(&m_mutex); }
    bool try_lock() { return pthread_mutex_trylock(&m_mutex) == 0; }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

    /// Both want the lock held; they may return early for no reason.
    void wait() { pthread_cond_wait(&m_changed, &m_mutex); }
    void waitUntil(int64_t monotonicNs);

    void notifyAll() { pthread_cond_broadcast(&m_changed); }

private:
    pthread_mutex_t m_mutex;
    pthread_cond_t m_changed;
};

} // namespace obrisim
