#pragma once

#include "InheritingMutex.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace libobrifile {

/// A file written by a thread of its own, so that the thread of frames never waits for the disk.
///
/// What goes into the stream is written at once, until FallBehind; from then on it is copied into a queue and reaches
/// the file soon after (a little waits 10 ms for more), in order. The queue bridges a disk that stands still: five
/// seconds of the camera's largest frames at its full rate. When it is full, writing into the stream waits. As long as
/// the disk comes level now and then, little of its memory is touched.
///
/// A write that fails drops what is queued. It is told by the next flush of the stream, by Drain and by Error, until
/// CutBackTo. Whoever ends the process without closing the stream loses what is queued.
///
/// One thread at a time, besides its own.
class WriteBehindFile {
public:
    static constexpr size_t QueueBytes = size_t{256} << 20;

    explicit WriteBehindFile(size_t queueBytes = QueueBytes) : m_queueBytes(queueBytes) {}
    WriteBehindFile(const WriteBehindFile&) = delete;
    WriteBehindFile& operator=(const WriteBehindFile&) = delete;
    /// The stream must have been closed.
    ~WriteBehindFile() = default;

    /// Creates or empties a file; the one before must have been closed. fclose of the stream waits for the disk, and
    /// fails when a write has failed since the last CutBackTo.
    /// @return a stream to write and seek in, which borrows this object; null with errno when that failed.
    FILE* Open(const std::string& path);

    /// Starts the queue and its thread. False when there is no memory or no thread for them: all is written at once
    /// then.
    bool FallBehind();
    /// Waits until the file has what was written into the stream and flushed. False with errno when a write failed.
    bool Drain();
    /// The errno of the write that failed, 0 while all is well.
    int Error();
    /// True once writing into the stream had to wait, because the queue was full.
    bool HasWaited();
    /// Position up to which the file has everything that was written since the last seek. After a failure: where it
    /// happened.
    uint64_t WrittenUpTo();
    /// Waits until the queue is empty, then drops what the file has from a position on; the next bytes go there. A
    /// failure is over.
    void CutBackTo(uint64_t position);

private:
    size_t Take(const char* bytes, size_t length);
    bool WriteAtOnce(const char* bytes, size_t length);
    bool Queue(const char* bytes, size_t length);
    bool Seek(off64_t* offset, int whence);
    bool Close();
    void Run();
    void WaitUntilIdle(std::unique_lock<std::mutex>& lock);
    bool IsWorthAWrite() const;
    void WaitForWork(std::unique_lock<std::mutex>& lock);

    const size_t m_queueBytes;
    int m_file = -1;
    char* m_queue = nullptr; // a ring of m_queueBytes
    std::thread m_thread;

    libobribase::InheritingMutex m_mutex; // guards what follows
    std::condition_variable m_work, m_room;
    size_t m_head = 0;   // of the ring's oldest byte
    size_t m_queued = 0; // bytes
    uint64_t m_end = 0;  // position in the file of the byte behind the queue's last: the queue has no gaps
    int m_error = 0;
    bool m_isClosing = false;
    bool m_isHurried = false;   // somebody waits for the file
    bool m_isGathering = false; // the thread waits for more to write
    bool m_hasWaited = false;
};

} // namespace libobrifile
