#pragma once

#include <atomic>

// Plain fields of plain records that two threads share: every access goes through these, so that neither thread sees
// a torn value and no sanitizer a race. A frame reads each flag once, into a local. Any thread.

namespace libobribase {

template <class T>
T loadShared(const T& field)
{
    return std::atomic_ref<T>(const_cast<T&>(field)).load(std::memory_order_acquire);
}

template <class T, class V>
void storeShared(T& field, V value)
{
    std::atomic_ref<T>(field).store(static_cast<T>(value), std::memory_order_release);
}

} // namespace libobribase
