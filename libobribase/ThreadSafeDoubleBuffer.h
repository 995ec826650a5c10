#pragma once

#include "Semaphore.h"

#include <cstdint>
#include <memory>

namespace libobribase {

/// Hands whole blocks of bytes from one writer thread to one reader; the reader gets the newest committed block.
class ThreadSafeDoubleBuffer {
public:
    /// @param size bytes of a block. A length that cannot be allocated throws std::bad_array_new_length.
    explicit ThreadSafeDoubleBuffer(int size);
    virtual ~ThreadSafeDoubleBuffer() = default;
    ThreadSafeDoubleBuffer(const ThreadSafeDoubleBuffer&) = delete;
    ThreadSafeDoubleBuffer& operator=(const ThreadSafeDoubleBuffer&) = delete;

    /// The block to fill: 8-byte aligned, its old contents undefined, good until CommitWrite. Writer's thread.
    virtual uint8_t* GetWriteBuffer();
    /// Makes the filled block the newest. Writer's thread.
    virtual void CommitWrite();
    /// Copies the newest block for the reader; false when nothing was committed since the last call. Reader's thread.
    virtual bool AtomicRead();
    /// The reader's copy, good until the next AtomicRead. Reader's thread.
    virtual uint8_t* GetReadBuffer();

private:
    uint8_t* buffer(int index) { return reinterpret_cast<uint8_t*>(m_buffers[index].get()); }

    std::unique_ptr<Semaphore> m_semaphore;
    std::unique_ptr<uint64_t[]> m_buffers[3]; ///< 0 and 1 alternate as write buffers, 2 is the reader's copy
    int32_t m_size;
    int32_t m_writeIndex = 0;
    int32_t m_hasNewData = 0;
};

} // namespace libobribase
