#pragma once

#include <cstdint>
#include <linux/videodev2.h>

constexpr int sVideoBufferCount = 5;

/// The capture buffers that driver and program share. One of them at most is out of the driver's queue.
struct SVideoMemory {
    v4l2_buffer videoBuffer;                       ///< the buffer in hand: being mapped and queued, or dequeued
    v4l2_requestbuffers requestBuffers;            ///< the last request for buffers
    uint32_t videoBufferLength[sVideoBufferCount]; ///< mapped bytes
    uint32_t videoBufferOffset[sVideoBufferCount]; ///< the driver's name for the buffer
    void* mem[sVideoBufferCount];                  ///< where it is mapped

    int dequeueError;       ///< errno of the latest dequeueFrameBuffer, 0 when it brought a buffer
    uint32_t dequeuedBytes; ///< bytes used in the latest dequeued buffer, 0 after a failure
};
using TVideoMemory = SVideoMemory;

// Allocate and map before streaming starts, unmap and release after it stopped. A failure of these four ends the
// process with status 255 and a message. Called with the frame gate held.

/// Asks the driver for five buffers; how many it grants shows when they are mapped.
void allocateVideoMemory(int fd, SVideoMemory* memory);
/// Maps the five buffers, reports each on standard output, and queues them.
void mapVideoMemory(int fd, SVideoMemory* memory);
/// Unmaps them; addresses and lengths stay as they were.
void unmapVideoMemory(int fd, SVideoMemory* memory);
/// Gives the buffers back to the driver.
void releaseVideoMemory(int fd, SVideoMemory* memory);

/// Queues the five mapped buffers again, after the driver gave up its queue. Quiet.
/// @return 0, or the errno of the first that was refused.
int requeueVideoMemory(int fd, SVideoMemory* memory);

/// Takes the oldest filled buffer from the driver.
///
/// @param frame  receives the buffer's mapped address; after a failure that of buffer 0, whose content is stale.
/// @return bytes used in the buffer; 0 after a failure, which is said on standard error and is not fatal.
///
/// Streaming thread, inside a frame.
int dequeueFrameBuffer(int fd, SVideoMemory* memory, void** frame);

/// Gives the dequeued buffer back to the driver's queue. A failure is only said. Streaming thread, inside a frame.
void releaseFrameBuffer(int fd, SVideoMemory* memory);
