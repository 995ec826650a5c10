// A frame may allocate small strings and nothing else: at a thousand frames a second everything else is felt.

#include "FrameProcessorSite.h"

// The thread sanitizer brings these operators itself.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OBRI_NO_COUNTING
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define OBRI_NO_COUNTING
#endif
#ifndef OBRI_NO_COUNTING

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int> sAllocations{0};
std::atomic<size_t> sBytes{0};

void* allocate(size_t size)
{
    ++sAllocations;
    sBytes += size;
    if (void* memory = malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

} // namespace

// Those of arrays come here too.
void* operator new(size_t size)
{
    return allocate(size);
}
void operator delete(void* memory) noexcept
{
    free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    free(memory);
}

using FrameAllocations = FrameProcessorSite;

TEST_F(FrameAllocations, AreSmallStringsOnly)
{
    setSize(816, 620);
    cam.applyNoiseCorrection = cam.showPcTime = 1;
    processor.SetShowPixelOverflow(true);
    frames(3);
    processor.StartRecordingAdv();
    for (bool recording : {true, false}) {
        frames(3);
        for (int i = 0; i < 10; ++i) {
            const int allocations = sAllocations;
            const size_t bytes = sBytes;
            process();
            EXPECT_LE(sAllocations - allocations, recording ? 12 : 2);
            EXPECT_LE(sBytes - bytes, recording ? 1200u : 400u);
        }
        processor.StopRecording();
    }
}

#endif
