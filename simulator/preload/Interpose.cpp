// The system calls that reach a camera's nodes, answered before the kernel sees them.
//
// libv4l2 makes all its device calls through syscall(2); other programs use the C library's wrappers.
// Both are exported here. What is not a camera's goes on unchanged: no lock is taken on the way, since
// GLib's futexes pass through syscall(), and all six arguments go along.

// Fortified headers would define some of these functions, and large-file support would rename them.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#include "Bus.h"
#include "Mappings.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

// A system call's arguments are numbers, whatever they mean; and the analyzer does not see va_start in macros.
// NOLINTBEGIN(performance-no-int-to-ptr,clang-analyzer-valist.Uninitialized)

#define EXPORTED extern "C" __attribute__((visibility("default")))

using obrisim::Bus;
using obrisim::Camera;
using obrisim::Mappings;

namespace {

/// The function of this name in the library that comes after this one. Initialised without code: sanitizers
/// make system calls before any could run, and watch the guards of local statics.
template <class F>
class Following {
public:
    constexpr explicit Following(const char* name) : m_name(name) {}
    F* get()
    {
        F* function = m_function.load(std::memory_order_relaxed);
        if (!function)
            m_function.store(function = reinterpret_cast<F*>(dlsym(RTLD_NEXT, m_name)), std::memory_order_relaxed);
        return function;
    }

private:
    const char* m_name;
    std::atomic<F*> m_function{nullptr};
};

long answer(long result)
{
    if (result >= 0)
        return result;
    errno = static_cast<int>(-result);
    return -1;
}

bool looksLikeNode(const char* path)
{
    return path && strncmp(path, "/dev/video", 10) == 0;
}

int openNode(const char* path, int flags)
{
    Bus* bus = looksLikeNode(path) ? Bus::instance() : nullptr;
    return bus ? bus->open(path, flags) : Bus::sNotOurs;
}

int requestOf(Camera& camera, int fd, unsigned long request, void* argument)
{
    // The kernel looks at 32 bits; a code widened with its sign is the same request.
    return camera.ioctl(fd, static_cast<uint32_t>(request), argument);
}

bool carriesMode(int flags)
{
    return (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
}

/// Opens a camera's node, or goes on to the next library with the mode that the flags say is there.
template <class Next>
int openOr(const char* path, int flags, va_list& more, Next next)
{
    const int opened = openNode(path, flags);
    if (opened != Bus::sNotOurs)
        return static_cast<int>(answer(opened));
    return next(carriesMode(flags) ? va_arg(more, mode_t) : mode_t{0});
}

long passOn(long number, const long (&a)[6])
{
    static constinit Following<long(long, ...)> next("syscall");
    return next.get()(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

/// mmap with its six arguments, on the memory behind a camera's descriptor.
long mapBuffer(Camera& camera, int fd, const long (&a)[6])
{
    obrisim::SMapping mapping;
    if (const int error = camera.map(fd, static_cast<size_t>(a[1]), a[5], mapping))
        return answer(error);
    const long address = passOn(SYS_mmap, {a[0], a[1], a[2], a[3], mapping.memoryFd, a[5]});
    if (address == -1)
        camera.unmapped(mapping);
    else
        Mappings::add(reinterpret_cast<const void*>(address), camera, mapping);
    return address;
}

} // namespace

EXPORTED long syscall(long number, ...)
{
    va_list arguments;
    va_start(arguments, number);
    long a[6];
    for (long& argument : a)
        argument = va_arg(arguments, long);
    va_end(arguments);
    const int fd = static_cast<int>(number == SYS_mmap ? a[4] : a[0]);
    if (number == SYS_openat) {
        const int opened = openNode(reinterpret_cast<const char*>(a[1]), static_cast<int>(a[2]));
        if (opened != Bus::sNotOurs)
            return answer(opened);
    } else if (number == SYS_ioctl) {
        if (Camera* camera = Bus::cameraOf(fd))
            return answer(requestOf(*camera, fd, static_cast<unsigned long>(a[1]), reinterpret_cast<void*>(a[2])));
    } else if (number == SYS_mmap) {
        if (Camera* camera = Bus::cameraOf(fd))
            return mapBuffer(*camera, fd, a);
    } else if (number == SYS_munmap) {
        Mappings::remove(reinterpret_cast<const void*>(a[0]));
    } else if (number == SYS_close && Bus::cameraOf(fd)) {
        Bus::close(fd);
        return 0;
    }
    return passOn(number, a);
}

#define EXPORT_OPEN(name)                                                                                              \
    EXPORTED int name(const char* path, int flags, ...)                                                                \
    {                                                                                                                  \
        static constinit Following<int(const char*, int, ...)> next(#name);                                            \
        va_list more;                                                                                                  \
        va_start(more, flags);                                                                                         \
        const int fd = openOr(path, flags, more, [&](mode_t mode) { return next.get()(path, flags, mode); });          \
        va_end(more);                                                                                                  \
        return fd;                                                                                                     \
    }
EXPORT_OPEN(open)
EXPORT_OPEN(open64)

#define EXPORT_OPENAT(name)                                                                                            \
    EXPORTED int name(int folder, const char* path, int flags, ...)                                                    \
    {                                                                                                                  \
        static constinit Following<int(int, const char*, int, ...)> next(#name);                                       \
        va_list more;                                                                                                  \
        va_start(more, flags);                                                                                         \
        const int fd = openOr(path, flags, more, [&](mode_t mode) { return next.get()(folder, path, flags, mode); });  \
        va_end(more);                                                                                                  \
        return fd;                                                                                                     \
    }
EXPORT_OPENAT(openat)
EXPORT_OPENAT(openat64)

// What a fortified build calls instead, when it opens without creating.
EXPORTED int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

EXPORTED int __open64_2(const char* path, int flags)
{
    return open64(path, flags);
}

EXPORTED int __openat_2(int directory, const char* path, int flags)
{
    return openat(directory, path, flags);
}

EXPORTED int __openat64_2(int directory, const char* path, int flags)
{
    return openat64(directory, path, flags);
}

EXPORTED int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (Camera* camera = Bus::cameraOf(fd))
        return static_cast<int>(answer(requestOf(*camera, fd, request, argument)));
    static constinit Following<int(int, unsigned long, ...)> next("ioctl");
    return next.get()(fd, request, argument);
}

static void* map(void* address, size_t length, int protection, int flags, int fd, off64_t offset)
{
    const long a[] = {reinterpret_cast<long>(address), static_cast<long>(length), protection, flags, fd, offset};
    if (Camera* camera = Bus::cameraOf(fd))
        return reinterpret_cast<void*>(mapBuffer(*camera, fd, a));
    return reinterpret_cast<void*>(passOn(SYS_mmap, a));
}

EXPORTED void* mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset) noexcept
{
    return map(address, length, protection, flags, fd, offset);
}

EXPORTED void* mmap64(void* address, size_t length, int protection, int flags, int fd, off64_t offset) noexcept
{
    return map(address, length, protection, flags, fd, offset);
}

EXPORTED int munmap(void* address, size_t length) noexcept
{
    Mappings::remove(address);
    return static_cast<int>(passOn(SYS_munmap, {reinterpret_cast<long>(address), static_cast<long>(length)}));
}

EXPORTED int close(int fd)
{
    if (Bus::cameraOf(fd)) {
        Bus::close(fd);
        return 0;
    }
    static constinit Following<int(int)> next("close");
    return next.get()(fd);
}

// NOLINTEND(performance-no-int-to-ptr,clang-analyzer-valist.Uninitialized)
