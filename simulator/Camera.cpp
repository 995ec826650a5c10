#include "Camera.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <sys/eventfd.h>
#include <sys/select.h>
#include <unistd.h>

namespace obrisim {

// "dead" says after how many frames a stream ends, and how many streams do.
static SFault streamsOf(const SFault& dead)
{
    return {dead.enabled, 0, 0, dead.count};
}

Camera::Camera(const SOptions& options, SIdentity identity, const Clock& clock, Unplugged unplugged)
    : m_options(options), m_identity(identity), m_unplugged(std::move(unplugged)), m_clock(clock),
      m_journal(options, clock.originNs()), m_mode(&sensorModes().front()), m_xuFault(options.xuError),
      m_formatFault(options.formatError), m_streamOnFault(options.streamOnError),
      m_streamOffFault(options.streamOffError), m_queueFault(options.queueError), m_dequeueFault(options.dequeueError),
      m_mapFault(options.mapError), m_deadStreams(streamsOf(options.dead))
{
    m_settings.exposureMs = options.exposureMs;
}

Camera::~Camera()
{
    std::lock_guard lock(m_monitor);
    stopStreaming();
}

SHandle* Camera::handleOf(int fd)
{
    const auto found = std::ranges::find(m_handles, fd, &SHandle::fd);
    return found == m_handles.end() ? nullptr : &*found;
}

bool Camera::isOwnedByOther(const SHandle& handle) const
{
    return m_owner >= 0 && m_owner != handle.fd;
}

bool Camera::isGone()
{
    std::lock_guard lock(m_monitor);
    return m_gone;
}

int Camera::open(bool metadata, int flags)
{
    std::lock_guard lock(m_monitor);
    if (m_options.noPermission)
        return -EACCES;
    // One count from the start: not streaming means readable.
    const int fd = eventfd(1, EFD_SEMAPHORE | EFD_NONBLOCK | (flags & O_CLOEXEC ? EFD_CLOEXEC : 0));
    if (fd < 0)
        return -errno;
    if (fd >= FD_SETSIZE) {
        ::close(fd);
        return -EMFILE;
    }
    m_handles.push_back({fd, metadata, !(flags & O_NONBLOCK), V4L2_PRIORITY_DEFAULT});
    return fd;
}

void Camera::close(int fd)
{
    std::lock_guard lock(m_monitor);
    if (m_owner == fd) {
        stopStreaming();
        freeBuffers();
    }
    std::erase_if(m_handles, [fd](const SHandle& handle) { return handle.fd == fd; });
    ::close(fd);
}

// Wakes every waiting select and lets later ones return at once.
void Camera::signalAll()
{
    for (const SHandle& handle : m_handles)
        eventfd_write(handle.fd, 1);
    m_monitor.notifyAll();
}

const Camera::SRequest Camera::sVideoRequests[] = {
    {VIDIOC_QUERYCAP, &Camera::queryCapabilities},
    {VIDIOC_ENUM_FMT, &Camera::enumFormats},
    {VIDIOC_ENUM_FRAMESIZES, &Camera::enumFrameSizes},
    {VIDIOC_ENUM_FRAMEINTERVALS, &Camera::enumFrameIntervals},
    {VIDIOC_G_FMT, &Camera::getFormat},
    {VIDIOC_TRY_FMT, &Camera::tryFormat},
    {VIDIOC_S_FMT, &Camera::setFormat},
    {VIDIOC_G_PARM, &Camera::getParameters},
    {VIDIOC_S_PARM, &Camera::getParameters}, // the frame rate follows the exposure: nothing to set
    {VIDIOC_ENUMINPUT, &Camera::enumInputs},
    {VIDIOC_G_INPUT, &Camera::getInput},
    {VIDIOC_S_INPUT, &Camera::setInput},
    {VIDIOC_G_PRIORITY, &Camera::getPriority},
    {VIDIOC_S_PRIORITY, &Camera::setPriority},
    {VIDIOC_REQBUFS, &Camera::requestBuffers},
    {VIDIOC_QUERYBUF, &Camera::queryBuffer},
    {VIDIOC_QBUF, &Camera::queueBuffer},
    {VIDIOC_DQBUF, &Camera::dequeueBuffer},
    {VIDIOC_STREAMON, &Camera::streamOn},
    {VIDIOC_STREAMOFF, &Camera::streamOff},
    {static_cast<uint32_t>(UVCIOC_CTRL_QUERY), &Camera::extensionUnit},
};

const Camera::SRequest Camera::sMetadataRequests[] = {
    {VIDIOC_QUERYCAP, &Camera::queryCapabilities}, {VIDIOC_ENUM_FMT, &Camera::enumMetadataFormats},
    {VIDIOC_G_FMT, &Camera::metadataFormat},       {VIDIOC_TRY_FMT, &Camera::metadataFormat},
    {VIDIOC_S_FMT, &Camera::metadataFormat},       {VIDIOC_G_PRIORITY, &Camera::getPriority},
    {VIDIOC_S_PRIORITY, &Camera::setPriority},
};

Camera::Request Camera::findRequest(const SHandle& handle, uint32_t code)
{
    const auto search = [code](std::span<const SRequest> requests) -> Request {
        const auto found = std::ranges::find(requests, code, &SRequest::code);
        return found == requests.end() ? nullptr : found->serve;
    };
    return handle.metadata ? search(sMetadataRequests) : search(sVideoRequests);
}

// A driver keeps a program waiting for microseconds. Whoever has the monitor is a thread like others: when it is kept
// from running, the program cannot even take a frame.
void Camera::enter()
{
    if (m_monitor.try_lock())
        return;
    const int64_t came = monotonicNs();
    pid_t self = gettid();
    m_waitingSinceNs = came;
    m_caller = self;
    m_monitor.lock();
    m_caller.compare_exchange_strong(self, 0); // another thread may wait as well
    if (!m_attendance.isOf(gettid()))
        return;
    const int64_t now = monotonicNs();
    m_buffers.excuse(now - came, now);
    m_attendance.excuse(now - came);
}

int Camera::ioctl(int fd, uint32_t request, void* argument)
{
    enter();
    std::lock_guard lock(m_monitor, std::adopt_lock);
    SHandle* handle = handleOf(fd);
    if (!handle)
        return -EBADF;
    if (unplugIsDue())
        pullCable();
    if (m_gone)
        return -ENODEV;
    const Request serve = findRequest(*handle, request);
    if (!serve)
        return -ENOTTY;
    return argument ? (this->*serve)(*handle, argument) : -EFAULT;
}

int Camera::map(int fd, size_t length, int64_t offset, SMapping& mapping)
{
    std::lock_guard lock(m_monitor);
    if (m_gone)
        return -ENODEV;
    if (const int error = m_mapFault.error())
        return -error;
    if (fd != m_owner || offset % static_cast<int64_t>(m_buffers.length()) != 0 || length > m_buffers.length())
        return -EINVAL;
    const int64_t index = offset / static_cast<int64_t>(m_buffers.length());
    if (index < 0 || index >= m_buffers.count())
        return -EINVAL;
    mapping = {m_buffers.memoryFd(), static_cast<int>(index), m_buffers.generation()};
    ++m_buffers.at(mapping.index).mappings;
    return 0;
}

void Camera::unmapped(const SMapping& mapping)
{
    std::lock_guard lock(m_monitor);
    if (mapping.generation == m_buffers.generation() && mapping.index < m_buffers.count())
        --m_buffers.at(mapping.index).mappings;
}

} // namespace obrisim
