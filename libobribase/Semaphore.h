#pragma once

#include "InheritingMutex.h"

namespace libobribase {

/// A lock entered with P and left with V, by the same thread and not twice in a row. Any thread.
class Semaphore {
public:
    Semaphore() = default;
    virtual ~Semaphore() = default;
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    void P() { m_mutex.lock(); }
    void V() { m_mutex.unlock(); }

private:
    InheritingMutex m_mutex;
};

/// Holds a semaphore for the life of a block.
class SemaphoreGuard {
public:
    explicit SemaphoreGuard(Semaphore& semaphore) : m_semaphore(semaphore) { m_semaphore.P(); }
    ~SemaphoreGuard() { m_semaphore.V(); }
    SemaphoreGuard(const SemaphoreGuard&) = delete;
    SemaphoreGuard& operator=(const SemaphoreGuard&) = delete;

private:
    Semaphore& m_semaphore;
};

} // namespace libobribase
