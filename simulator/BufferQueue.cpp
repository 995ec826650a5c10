#include "BufferQueue.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>

namespace obrisim {

bool BufferQueue::allocate(int count, size_t bytes)
{
    release();
    ++m_generation;
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    m_length = (bytes + page - 1) / page * page;
    const size_t total = m_length * static_cast<size_t>(count);
    m_fd = memfd_create("simulated-camera", MFD_CLOEXEC);
    if (m_fd < 0 || ftruncate(m_fd, static_cast<off_t>(total)) != 0)
        return false;
    void* memory = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd, 0);
    if (memory == MAP_FAILED)
        return false;
    m_memory = static_cast<uint8_t*>(memory);
    m_buffers.resize(static_cast<size_t>(count));
    return true;
}

void BufferQueue::release()
{
    if (m_memory)
        munmap(m_memory, m_length * m_buffers.size());
    if (m_fd >= 0)
        close(m_fd);
    m_memory = nullptr;
    m_fd = -1;
    m_buffers.clear();
    m_queued.clear();
    m_done.clear();
}

bool BufferQueue::isNoneWithProgram() const
{
    return std::ranges::none_of(m_buffers, [](const SBuffer& buffer) {
        return buffer.state == EBufferState::Done || buffer.state == EBufferState::Dequeued;
    });
}

int64_t BufferQueue::longestHeldSinceNs() const
{
    return std::ranges::min(m_buffers, {}, &SBuffer::heldSinceNs).heldSinceNs;
}

void BufferQueue::excuse(int64_t ns, int64_t nowNs)
{
    for (SBuffer& buffer : m_buffers)
        buffer.heldSinceNs = std::min(buffer.heldSinceNs + ns, nowNs);
}

bool BufferQueue::queue(int index)
{
    if (at(index).state != EBufferState::Dequeued)
        return false;
    at(index).state = EBufferState::Queued;
    m_queued.push_back(index);
    return true;
}

int BufferQueue::beginFilling()
{
    if (m_queued.empty())
        return -1;
    const int index = m_queued.front();
    m_queued.pop_front();
    at(index).state = EBufferState::Filling;
    return index;
}

void BufferQueue::finishFilling(int index)
{
    at(index).state = EBufferState::Done;
    m_done.push_back(index);
}

int BufferQueue::returnAllDamaged()
{
    int returned = 0;
    for (int index = beginFilling(); index >= 0; index = beginFilling(), ++returned) {
        SBuffer& buffer = at(index);
        buffer.damaged = true;
        buffer.bytesUsed = buffer.sequence = 0;
        finishFilling(index);
    }
    return returned;
}

int BufferQueue::dequeue()
{
    if (m_done.empty())
        return -1;
    const int index = m_done.front();
    m_done.pop_front();
    at(index).state = EBufferState::Dequeued;
    return index;
}

void BufferQueue::cancel()
{
    m_queued.clear();
    m_done.clear();
    for (SBuffer& buffer : m_buffers)
        buffer.state = EBufferState::Dequeued;
}

} // namespace obrisim
