#include "videomem.h"

#include "util.h"
#include <cerrno>
#include <cstdio>
#include <libv4l2.h>
#include <sys/mman.h>

namespace {

v4l2_buffer emptyBuffer(int index)
{
    v4l2_buffer buffer{};
    buffer.index = static_cast<uint32_t>(index);
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    return buffer;
}

void requestBuffers(int fd, SVideoMemory* memory, uint32_t count, const char* failure)
{
    memory->requestBuffers = {};
    memory->requestBuffers.count = count;
    memory->requestBuffers.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    memory->requestBuffers.memory = V4L2_MEMORY_MMAP;
    if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_REQBUFS), &memory->requestBuffers) < 0)
        endOnFailure(failure, errno);
}

/// Maps the buffer that videoBuffer was queried about.
void mapBuffer(int fd, SVideoMemory* memory, int i)
{
    memory->videoBufferLength[i] = memory->videoBuffer.length;
    memory->videoBufferOffset[i] = memory->videoBuffer.m.offset;
    memory->mem[i] = v4l2_mmap(nullptr, memory->videoBufferLength[i], PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                               memory->videoBufferOffset[i]);
    if (memory->mem[i] == MAP_FAILED)
        endOnFailure("Request buffer mapping failed, exiting...", errno);
    printf("buffer %d: len=%d, offset=%08x, position=%p\n", i, static_cast<int>(memory->videoBufferLength[i]),
           memory->videoBufferOffset[i], memory->mem[i]);
}

} // namespace

void allocateVideoMemory(int fd, SVideoMemory* memory)
{
    requestBuffers(fd, memory, sVideoBufferCount, "Request buffer allocation failed, exiting...");
}

void mapVideoMemory(int fd, SVideoMemory* memory)
{
    for (int i = 0; i < sVideoBufferCount; ++i) {
        memory->videoBuffer = emptyBuffer(i);
        // The driver may have granted fewer buffers than asked for; this is where it shows.
        if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QUERYBUF), &memory->videoBuffer) < 0)
            endOnFailure("Request buffer querying failed, exiting...", errno);
        mapBuffer(fd, memory, i);
        if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QBUF), &memory->videoBuffer) < 0)
            endOnFailure("Request buffer enqueueing failed, exiting...", errno);
    }
}

void unmapVideoMemory(int, SVideoMemory* memory)
{
    for (int i = 0; i < sVideoBufferCount; ++i) {
        if (memory->mem[i] == MAP_FAILED || memory->videoBufferLength[i] == 0)
            continue;
        if (v4l2_munmap(memory->mem[i], memory->videoBufferLength[i]) < 0)
            endOnFailure("Request buffer unmapping failed, exiting...", errno);
    }
}

void releaseVideoMemory(int fd, SVideoMemory* memory)
{
    requestBuffers(fd, memory, 0, "Request buffer deallocation failed, exiting...");
}

int requeueVideoMemory(int fd, SVideoMemory* memory)
{
    for (int i = 0; i < sVideoBufferCount; ++i) {
        memory->videoBuffer = emptyBuffer(i);
        if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QBUF), &memory->videoBuffer) < 0)
            return errno;
    }
    return 0;
}

int dequeueFrameBuffer(int fd, SVideoMemory* memory, void** frame)
{
    memory->videoBuffer = emptyBuffer(0);
    memory->dequeueError = 0;
    if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_DQBUF), &memory->videoBuffer) < 0) {
        memory->dequeueError = errno;
        printFailure("Failed to dequeue frame buffer...", memory->dequeueError);
        memory->videoBuffer = emptyBuffer(0); // whatever a failing driver left in it
    }
    memory->dequeuedBytes = memory->videoBuffer.bytesused;
    *frame = memory->mem[memory->videoBuffer.index];
    return static_cast<int>(memory->dequeuedBytes);
}

void releaseFrameBuffer(int fd, SVideoMemory* memory)
{
    if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QBUF), &memory->videoBuffer) < 0)
        printFailure("Failed to enqueue frame buffer...", errno);
}
