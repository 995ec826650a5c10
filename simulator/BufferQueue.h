#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace obrisim {

enum class EBufferState : uint8_t { Dequeued, Queued, Filling, Done };

/// One capture buffer, as the driver knows it.
struct SBuffer {
    EBufferState state = EBufferState::Dequeued;
    int mappings = 0;     ///< of the program
    bool damaged = false; ///< comes back with the error flag
    uint32_t bytesUsed = 0, sequence = 0;
    uint32_t frameId = 0;    ///< the camera's counter
    int64_t timestampNs = 0; ///< monotonic
    int64_t heldSinceNs = 0; ///< since when it has not been free for another frame; monotonic
};

/// The capture buffers of one stream, in a memory file that the program maps. Not locked.
class BufferQueue {
public:
    BufferQueue() = default;
    ~BufferQueue() { release(); }
    BufferQueue(const BufferQueue&) = delete;
    BufferQueue& operator=(const BufferQueue&) = delete;

    /// Makes count buffers of at least bytes each; false when there is no memory.
    bool allocate(int count, size_t bytes);
    /// Lets the buffers go; what the program has mapped stays readable until it unmaps it.
    void release();

    bool isAllocated() const { return !m_buffers.empty(); }
    int count() const { return static_cast<int>(m_buffers.size()); }
    size_t length() const { return m_length; } ///< of each, whole pages
    size_t offset(int index) const { return m_length * static_cast<size_t>(index); }
    int memoryFd() const { return m_fd; }
    int generation() const { return m_generation; } ///< another one with every allocation
    uint8_t* data(int index) const { return m_memory + offset(index); }
    SBuffer& at(int index) { return m_buffers[static_cast<size_t>(index)]; }

    /// From the program to the camera: false when the buffer is not the program's.
    bool queue(int index);
    bool hasQueued() const { return !m_queued.empty(); }
    bool hasDone() const { return !m_done.empty(); }
    /// Finished buffers that the program has not taken, oldest first.
    const std::deque<int>& done() const { return m_done; }
    /// The program has nothing to take and nothing to give back.
    bool isNoneWithProgram() const;
    /// The earliest heldSinceNs, while no buffer is free.
    int64_t longestHeldSinceNs() const;
    /// The camera kept the program waiting for so long until now. @param nowNs  monotonic
    void excuse(int64_t ns, int64_t nowNs);
    /// The next buffer to fill, or -1.
    int beginFilling();
    /// The filled buffer waits for the program.
    void finishFilling(int index);
    /// All queued buffers come back empty and flagged; returns how many.
    int returnAllDamaged();
    /// The oldest finished buffer, or -1.
    int dequeue();
    /// Streaming has ended: every buffer is the program's.
    void cancel();

private:
    int m_fd = -1, m_generation = 0;
    uint8_t* m_memory = nullptr;
    size_t m_length = 0;
    std::vector<SBuffer> m_buffers;
    std::deque<int> m_queued, m_done;
};

} // namespace obrisim
