// Loaded into the program under test ahead of the C library:
//   OBRI_TEST_SLOW_DISK=EVERY,MS   each EVERY-th block of pixels written to recording.adv takes MS longer
//   OBRI_TEST_STALL=FILE,MS        once FILE exists, the main loop stands still for MS, and FILE is removed
#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>

namespace {

constexpr size_t sSmallestPixelBlock = 4096; // all other fields of a record are shorter

std::atomic<FILE*> sRecording{nullptr};
std::atomic<int> sBlocks{0};

template <class T>
T* next(const char* name)
{
    return reinterpret_cast<T*>(dlsym(RTLD_NEXT, name));
}

struct SSlowDisk {
    int every = 0;
    int ms = 0;

    SSlowDisk()
    {
        if (const char* text = getenv("OBRI_TEST_SLOW_DISK"))
            sscanf(text, "%d,%d", &every, &ms);
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

FILE* fopen64(const char* path, const char* mode)
{
    static auto* const sNext = next<FILE*(const char*, const char*)>("fopen64");
    FILE* file = sNext(path, mode);
    if (std::string_view(path) == "recording.adv")
        sRecording.store(file);
    return file;
}

size_t fwrite(const void* data, size_t size, size_t count, FILE* file)
{
    static auto* const sNext = next<size_t(const void*, size_t, size_t, FILE*)>("fwrite");
    static const SSlowDisk sDisk;
    if (sDisk.every > 0 && file == sRecording.load() && size * count >= sSmallestPixelBlock &&
        ++sBlocks % sDisk.every == 0) {
        fputs("hindrance: a slow block\n", stderr);
        sleepFor(sDisk.ms);
    }
    return sNext(data, size, count, file);
}

int poll(pollfd* fds, nfds_t count, int timeout)
{
    static auto* const sNext = next<int(pollfd*, nfds_t, int)>("poll");
    stallWhenAsked();
    return sNext(fds, count, timeout);
}

} // extern "C"
