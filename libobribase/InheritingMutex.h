#pragma once

#include <mutex>
#include <pthread.h>

namespace libobribase {

/// A mutex whose owner runs with the real-time priority of the most urgent thread that waits for it (POSIX's
/// PTHREAD_PRIO_INHERIT). All the program's own that the thread of frames locks are such: it would wait for an ordinary
/// thread that gets no processor otherwise.
class InheritingMutex : public std::mutex {
public:
    InheritingMutex()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        pthread_mutex_init(native_handle(), &attributes); // a plain one where the system knows no other
        pthread_mutexattr_destroy(&attributes);
    }
};

} // namespace libobribase
