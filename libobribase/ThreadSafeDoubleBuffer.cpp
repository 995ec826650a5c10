#include "ThreadSafeDoubleBuffer.h"

#include <cstring>
#include <new>

namespace libobribase {

ThreadSafeDoubleBuffer::ThreadSafeDoubleBuffer(int size) : m_semaphore(std::make_unique<Semaphore>()), m_size(size)
{
    if (size < 0)
        throw std::bad_array_new_length();
    const size_t words = (static_cast<size_t>(size) + 7) / 8;
    for (auto& words64 : m_buffers)
        words64 = std::make_unique<uint64_t[]>(words);
}

uint8_t* ThreadSafeDoubleBuffer::GetWriteBuffer()
{
    return buffer(m_writeIndex);
}

void ThreadSafeDoubleBuffer::CommitWrite()
{
    const SemaphoreGuard guard(*m_semaphore);
    m_writeIndex = 1 - m_writeIndex;
    m_hasNewData = 1;
}

bool ThreadSafeDoubleBuffer::AtomicRead()
{
    // The writer cannot turn to the committed buffer while it is copied: it would have to commit first.
    const SemaphoreGuard guard(*m_semaphore);
    if (!m_hasNewData)
        return false;
    m_hasNewData = 0;
    memcpy(buffer(2), buffer(1 - m_writeIndex), static_cast<size_t>(m_size));
    return true;
}

uint8_t* ThreadSafeDoubleBuffer::GetReadBuffer()
{
    return buffer(2);
}

} // namespace libobribase
