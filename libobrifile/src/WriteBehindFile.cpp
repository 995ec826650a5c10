#include "WriteBehindFile.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace libobrifile {

namespace {
constexpr size_t sLongestWrite = 1 << 20;           // bytes; the room they had is free again after each
constexpr size_t sBytesFromTheStart = 16 << 20;     // of the queue's memory
constexpr std::chrono::milliseconds sGathering(10); // time for less than the longest write to become more
constexpr mode_t sModeOfNewFiles = 0666;            // less what the user's mask takes

struct SWritten {
    size_t bytes;
    int error; ///< 0 when they are all
};

SWritten writeAll(int file, const char* bytes, size_t length, uint64_t position)
{
    size_t done = 0;
    while (done < length) {
        const ssize_t n = pwrite64(file, bytes + done, length - done, static_cast<off64_t>(position + done));
        if (n > 0)
            done += static_cast<size_t>(n);
        else if (n == 0 || errno != EINTR)
            return {done, n == 0 ? EIO : errno};
    }
    return {done, 0};
}

// Signals are the main thread's, which ends recordings properly.
void leaveSignalsToOthers()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}
} // namespace

FILE* WriteBehindFile::Open(const std::string& path)
{
    m_file = open64(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, sModeOfNewFiles);
    if (m_file < 0)
        return nullptr;
    m_head = m_queued = m_end = 0;
    m_error = 0;
    m_isClosing = m_hasWaited = false;
    constexpr auto take = [](void* cookie, const char* bytes, size_t length) {
        return static_cast<ssize_t>(static_cast<WriteBehindFile*>(cookie)->Take(bytes, length));
    };
    constexpr auto seek = [](void* cookie, off64_t* offset, int whence) {
        return static_cast<WriteBehindFile*>(cookie)->Seek(offset, whence) ? 0 : -1;
    };
    constexpr auto close = [](void* cookie) { return static_cast<WriteBehindFile*>(cookie)->Close() ? 0 : EOF; };
    FILE* stream = fopencookie(this, "w", {nullptr, take, seek, close});
    if (stream == nullptr) {
        m_error = errno;
        Close();
    }
    return stream;
}

bool WriteBehindFile::FallBehind()
{
    constexpr int access = PROT_READ | PROT_WRITE, kind = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* queue = mmap(nullptr, m_queueBytes, access, kind, -1, 0);
    if (queue == MAP_FAILED)
        return false;
    m_queue = static_cast<char*>(queue);
    madvise(queue, m_queueBytes, MADV_NOHUGEPAGE); // to find one takes milliseconds where memory is full
    try {
        m_thread = std::thread(&WriteBehindFile::Run, this);
    } catch (const std::exception&) {
        munmap(std::exchange(m_queue, nullptr), m_queueBytes);
    }
    return m_thread.joinable();
}

bool WriteBehindFile::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
    }
    m_work.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
        munmap(std::exchange(m_queue, nullptr), m_queueBytes);
    }
    // Some file systems tell of a full disk only here.
    if (close(std::exchange(m_file, -1)) != 0 && m_error == 0)
        m_error = errno;
    errno = m_error;
    return m_error == 0;
}

// What the stream hands over. Returns the number of bytes, or 0 with errno.
size_t WriteBehindFile::Take(const char* bytes, size_t length)
{
    const bool isTaken = m_thread.joinable() ? Queue(bytes, length) : WriteAtOnce(bytes, length);
    return isTaken ? length : 0;
}

bool WriteBehindFile::WriteAtOnce(const char* bytes, size_t length)
{
    if (m_error == 0) {
        const auto [written, error] = writeAll(m_file, bytes, length, m_end);
        m_end += written;
        m_error = error;
    }
    errno = m_error;
    return m_error == 0;
}

bool WriteBehindFile::Queue(const char* bytes, size_t length)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (size_t taken = 0; taken < length;) {
        m_hasWaited |= m_queued == m_queueBytes;
        m_room.wait(lock, [this] { return m_queued < m_queueBytes || m_error != 0; });
        if (m_queued == 0)
            m_head = 0;           // the same memory again, as long as the disk keeps up
        assert(m_queueBytes > 0); // or there would be no thread
        const size_t at = (m_head + m_queued) % m_queueBytes;
        const size_t piece = std::min({length - taken, m_queueBytes - m_queued, m_queueBytes - at});
        lock.unlock(); // nobody else touches what is not queued
        memcpy(m_queue + at, bytes + taken, piece);
        lock.lock();
        if (m_error != 0) {
            errno = m_error;
            return false;
        }
        m_queued += piece;
        m_end += piece;
        taken += piece;
        if (!m_isGathering || IsWorthAWrite())
            m_work.notify_one();
    }
    return true;
}

// The queue holds what belongs together in the file: elsewhere is where an empty queue goes on.
bool WriteBehindFile::Seek(off64_t* offset, int whence)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto here = static_cast<off64_t>(m_end);
    const off64_t target = whence == SEEK_CUR ? here + *offset : *offset;
    if (whence == SEEK_END || target < 0) {
        errno = EINVAL;
        return false;
    }
    if (target != here) {
        WaitUntilIdle(lock);
        m_end = static_cast<uint64_t>(target);
    }
    *offset = target;
    return true;
}

bool WriteBehindFile::Drain()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    WaitUntilIdle(lock);
    errno = m_error;
    return m_error == 0;
}

int WriteBehindFile::Error()
{
    const std::lock_guard lock(m_mutex);
    return m_error;
}

bool WriteBehindFile::HasWaited()
{
    const std::lock_guard lock(m_mutex);
    return m_hasWaited;
}

uint64_t WriteBehindFile::WrittenUpTo()
{
    const std::lock_guard lock(m_mutex);
    return m_end - m_queued;
}

void WriteBehindFile::CutBackTo(uint64_t position)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    WaitUntilIdle(lock);
    // A device cannot be cut, but neither does it keep anything.
    [[maybe_unused]] const int cut = ftruncate64(m_file, static_cast<off64_t>(position));
    m_end = position;
    m_error = 0;
}

void WriteBehindFile::WaitUntilIdle(std::unique_lock<std::mutex>& lock)
{
    m_isHurried = true;
    m_work.notify_one();
    m_room.wait(lock, [this] { return m_queued == 0; });
    m_isHurried = false;
}

bool WriteBehindFile::IsWorthAWrite() const
{
    return m_queued >= std::min(sLongestWrite, m_queueBytes) || m_isHurried || m_isClosing;
}

// With small frames, the thread of frames would meet this one at the lock several times a frame, and wake it as often:
// a little is left to become more.
void WriteBehindFile::WaitForWork(std::unique_lock<std::mutex>& lock)
{
    m_work.wait(lock, [this] { return m_queued > 0 || m_isClosing; });
    m_isGathering = true;
    m_work.wait_for(lock, sGathering, [this] { return IsWorthAWrite(); });
    m_isGathering = false;
}

void WriteBehindFile::Run()
{
    pthread_setname_np(pthread_self(), "write-behind");
    leaveSignalsToOthers();
    // Memory for the first frames, so that their thread need not wait for it.
    madvise(m_queue, std::min(m_queueBytes, sBytesFromTheStart), MADV_POPULATE_WRITE);
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (m_queued == 0) // what came during a write goes at once: only an empty queue begins again in front
            WaitForWork(lock);
        if (m_queued == 0)
            return;
        const size_t piece = std::min({m_queued, m_queueBytes - m_head, sLongestWrite});
        const char* const bytes = m_queue + m_head;
        const uint64_t position = m_end - m_queued;
        lock.unlock(); // the writer of the stream changes nothing that is queued
        const auto [written, error] = writeAll(m_file, bytes, piece, position);
        lock.lock();
        m_head = (m_head + written) % m_queueBytes;
        m_queued -= written;
        if (error != 0) {
            m_error = error;
            m_end -= m_queued;
            m_queued = 0;
        }
        m_room.notify_one();
    }
}

} // namespace libobrifile
