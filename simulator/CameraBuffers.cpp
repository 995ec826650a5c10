#include "Camera.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>

namespace obrisim {

template <class T>
static T& as(void* argument)
{
    return *static_cast<T*>(argument);
}

void Camera::freeBuffers()
{
    m_buffers.release();
    m_owner = -1;
}

int Camera::requestBuffers(SHandle& handle, void* argument)
{
    auto& request = as<v4l2_requestbuffers>(argument);
    if (request.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || request.memory != V4L2_MEMORY_MMAP)
        return -EINVAL;
    if (isOwnedByOther(handle) || m_streaming)
        return -EBUSY;
    freeBuffers();
    // Memory still mapped is let go of as well; the last unmapping frees it.
    request.capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP | V4L2_BUF_CAP_SUPPORTS_ORPHANED_BUFS;
    request.flags = 0;
    if (request.count == 0)
        return 0;
    const uint32_t most = m_options.grantBuffers ? static_cast<uint32_t>(m_options.grantBuffers) : VIDEO_MAX_FRAME;
    request.count = std::min(request.count, most);
    if (!m_buffers.allocate(static_cast<int>(request.count), static_cast<size_t>(m_mode->bytes())))
        return -ENOMEM;
    m_owner = handle.fd;
    return 0;
}

// The driver serves these requests to the handle that made the buffers alone; to all others, and when
// there are none, it is busy.
int Camera::checkBuffer(const SHandle& handle, const v4l2_buffer& buffer) const
{
    if (m_owner != handle.fd)
        return -EBUSY;
    if (buffer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || static_cast<int64_t>(buffer.index) >= m_buffers.count())
        return -EINVAL;
    return 0;
}

static uint32_t stateFlag(EBufferState state)
{
    if (state == EBufferState::Done)
        return V4L2_BUF_FLAG_DONE;
    return state == EBufferState::Dequeued ? 0 : V4L2_BUF_FLAG_QUEUED;
}

void Camera::describeBuffer(int index, v4l2_buffer& answer)
{
    const SBuffer& buffer = m_buffers.at(index);
    answer = {};
    answer.index = static_cast<uint32_t>(index);
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    answer.memory = V4L2_MEMORY_MMAP;
    answer.field = V4L2_FIELD_NONE;
    answer.bytesused = buffer.bytesUsed;
    answer.sequence = buffer.sequence;
    answer.length = static_cast<uint32_t>(m_mode->bytes());
    answer.m.offset = static_cast<uint32_t>(m_buffers.offset(index));
    answer.timestamp.tv_sec = buffer.timestampNs / 1'000'000'000;
    answer.timestamp.tv_usec = buffer.timestampNs / 1000 % 1'000'000;
    answer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC | V4L2_BUF_FLAG_TSTAMP_SRC_SOE | stateFlag(buffer.state);
    answer.flags |= buffer.mappings > 0 ? V4L2_BUF_FLAG_MAPPED : 0;
    answer.flags |= buffer.damaged ? V4L2_BUF_FLAG_ERROR : 0;
}

int Camera::queryBuffer(SHandle& handle, void* argument)
{
    auto& buffer = as<v4l2_buffer>(argument);
    if (const int error = checkBuffer(handle, buffer))
        return error;
    describeBuffer(static_cast<int>(buffer.index), buffer);
    return 0;
}

int Camera::queueBuffer(SHandle& handle, void* argument)
{
    auto& buffer = as<v4l2_buffer>(argument);
    if (const int error = checkBuffer(handle, buffer))
        return error;
    if (buffer.memory != V4L2_MEMORY_MMAP)
        return -EINVAL;
    if (const int error = m_queueFault.error())
        return -error;
    const int index = static_cast<int>(buffer.index);
    if (!m_buffers.queue(index))
        return -EINVAL;
    m_buffers.at(index).damaged = false;
    m_attendance.programGaveBack(m_buffers.isNoneWithProgram());
    describeBuffer(index, buffer);
    if (m_wantsBuffer)
        m_monitor.notifyAll();
    return 0;
}

// 0 when a frame is there, else the negative errno.
int Camera::waitForFrame(const SHandle& handle)
{
    for (;;) {
        if (m_gone)
            return -ENODEV;
        if (!m_streaming)
            return -EINVAL;
        if (m_buffers.hasDone())
            return 0;
        if (!handle.blocking)
            return -EAGAIN;
        m_monitor.wait();
    }
}

int Camera::dequeueBuffer(SHandle& handle, void* argument)
{
    auto& buffer = as<v4l2_buffer>(argument);
    if (m_owner != handle.fd)
        return -EBUSY;
    if (buffer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || buffer.memory != V4L2_MEMORY_MMAP)
        return -EINVAL;
    const SHandle waiting = handle; // another thread may open or close while this one waits
    if (const int error = waitForFrame(waiting))
        return error;
    if (const int error = m_dequeueFault.error())
        return -error;
    eventfd_t taken;
    eventfd_read(waiting.fd, &taken);
    describeBuffer(m_buffers.dequeue(), buffer);
    m_attendance.programTook();
    return 0;
}

// The program's signals are the program's: the frame thread is started with all of them blocked.
void Camera::startMaker()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    m_maker = std::thread(&Camera::makeFrames, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

int Camera::streamOn(SHandle& handle, void* argument)
{
    if (as<int>(argument) != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    if (m_owner != handle.fd)
        return -EBUSY;
    if (m_streaming)
        return 0;
    if (const int error = m_streamOnFault.error())
        return -error;
    eventfd_t left;
    while (eventfd_read(handle.fd, &left) == 0) {
    }
    m_streaming = true;
    m_attendance = {};
    startMaker();
    return 0;
}

// Wants the lock held and lets go of it while the frame thread ends.
void Camera::stopStreaming()
{
    if (!m_streaming)
        return;
    m_streaming = false;
    signalAll();
    std::thread maker = std::move(m_maker);
    m_monitor.unlock();
    if (maker.joinable())
        maker.join();
    m_monitor.lock();
    for (const int index : m_buffers.done())
        m_journal.untaken(m_buffers.at(index).frameId);
    m_buffers.cancel();
}

int Camera::streamOff(SHandle& handle, void* argument)
{
    if (as<int>(argument) != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    if (isOwnedByOther(handle))
        return -EBUSY;
    if (const int error = m_streamOffFault.error())
        return -error;
    stopStreaming();
    m_buffers.cancel();
    return 0;
}

} // namespace obrisim
