// Loaded into the program under test ahead of the C library:
//   OBRI_TEST_SLOW_DISK=WORKS,MS   recording.adv: the disk stands still for MS after each WORKS milliseconds of work
//   OBRI_TEST_STALL=FILE,MS        once FILE exists, the main loop stands still for MS, and FILE is removed
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<int> sRecording{-1};

template <class T>
T* next(const char* name)
{
    return reinterpret_cast<T*>(dlsym(RTLD_NEXT, name));
}

/// One thread writes the recording.
struct SSlowDisk {
    int works = 0;
    int ms = 0;
    Clock::time_point workEnds;

    SSlowDisk()
    {
        if (const char* text = getenv("OBRI_TEST_SLOW_DISK"))
            sscanf(text, "%d,%d", &works, &ms);
        workEnds = Clock::now() + std::chrono::milliseconds(works);
    }
};

struct SStall {
    std::string file;
    int ms = 0;

    SStall()
    {
        const char* text = getenv("OBRI_TEST_STALL");
        const char* comma = text ? strrchr(text, ',') : nullptr;
        if (!comma)
            return;
        file.assign(text, comma);
        ms = atoi(comma + 1);
    }
};

void sleepFor(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

void stallWhenAsked()
{
    static const SStall sStall;
    if (!sStall.file.empty() && getpid() == gettid() && unlink(sStall.file.c_str()) == 0)
        sleepFor(sStall.ms);
}

} // namespace

extern "C" {

int open64(const char* path, int flags, ...)
{
    static auto* const sNext = next<int(const char*, int, ...)>("open64");
    va_list more;
    va_start(more, flags);
    const int file = sNext(path, flags, flags & O_CREAT ? va_arg(more, mode_t) : 0);
    va_end(more);
    if (std::string_view(path) == "recording.adv")
        sRecording.store(file);
    return file;
}

ssize_t pwrite64(int file, const void* data, size_t length, off64_t position)
{
    static auto* const sNext = next<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
    static SSlowDisk sDisk;
    if (sDisk.ms > 0 && file == sRecording.load() && Clock::now() > sDisk.workEnds) {
        fputs("hindrance: the disk stands still\n", stderr);
        sleepFor(sDisk.ms);
        sDisk.workEnds = Clock::now() + std::chrono::milliseconds(sDisk.works);
    }
    return sNext(file, data, length, position);
}

int poll(pollfd* fds, nfds_t count, int timeout)
{
    static auto* const sNext = next<int(pollfd*, nfds_t, int)>("poll");
    stallWhenAsked();
    return sNext(fds, count, timeout);
}

} // extern "C"
