#include "Bus.h"

#include "../Environment.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

namespace obrisim {

// Which camera a descriptor belongs to. Every system call of the program passes by here: no lock.
static std::atomic<Camera*> sCameras[FD_SETSIZE];

static Bus* makeBus();

Bus* Bus::instance()
{
    static Bus* const bus = makeBus();
    return bus;
}

static Bus* makeBusFrom(const char* arguments)
{
    const SOptions options = parseOptions(splitArguments(arguments));
    const char* origin = getenv(sOriginVariable);
    const SOrigin on = origin ? parseOrigin(origin) : originNow(options);
    return Bus::make(options, Clock(on.utcNs, on.monotonicNs, options.paceByBuffers));
}

static Bus* makeBus()
try {
    const char* arguments = getenv(sArgumentsVariable);
    return arguments ? makeBusFrom(arguments) : nullptr;
} catch (const std::exception& error) {
    fprintf(stderr, "obri-simcam: %s\n", error.what());
    return nullptr;
}

Bus* Bus::make(const SOptions& options, const Clock& clock)
{
    return new Bus(options, clock);
}

Bus::Bus(const SOptions& options, const Clock& clock)
{
    const SIdentity first{0, options.videoNode, options.metadataNode};
    if (options.noCamera)
        return;
    addCamera(options, first, clock);
    if (options.twoCameras)
        addCamera(options, {1, first.videoNode + 2, first.metadataNode + 2}, clock);
    if (options.replugS > 0) {
        SOptions healthy = options;
        healthy.unplug = {};
        healthy.unplugAtS = 0;
        addCamera(healthy, {0, first.videoNode + 4, first.metadataNode + 4}, clock);
        m_replugged = m_cameras.back().get();
    }
}

void Bus::addCamera(const SOptions& options, SIdentity identity, const Clock& clock)
{
    m_cameras.push_back(
        std::make_unique<Camera>(options, identity, clock, [number = identity.number] { reportUnplugged(number); }));
}

// One short line into the launcher's pipe, which takes the devices off the mocked bus.
void Bus::reportUnplugged(int number)
{
    const char* control = getenv(sControlVariable);
    const int fd = control ? ::open(control, O_WRONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    if (fd < 0)
        return;
    dprintf(fd, "unplugged %d\n", number);
    ::close(fd);
}

static std::string node(int number)
{
    return "/dev/video" + std::to_string(number);
}

int Bus::open(const char* path, int flags)
{
    for (const auto& camera : m_cameras) {
        const SIdentity& is = camera->identity();
        const bool metadata = path == node(is.metadataNode);
        if (!metadata && path != node(is.videoNode))
            continue;
        if (camera->isGone() || (camera.get() == m_replugged && !m_cameras.front()->isGone()))
            return -ENOENT;
        const int fd = camera->open(metadata, flags);
        if (fd >= 0)
            sCameras[fd].store(camera.get(), std::memory_order_release);
        return fd;
    }
    return sNotOurs;
}

Camera* Bus::cameraOf(int fd)
{
    return fd >= 0 && fd < FD_SETSIZE ? sCameras[fd].load(std::memory_order_acquire) : nullptr;
}

void Bus::close(int fd)
{
    if (Camera* camera = sCameras[fd].exchange(nullptr, std::memory_order_acq_rel))
        camera->close(fd);
}

} // namespace obrisim
