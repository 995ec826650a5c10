#include "device.h"

#include "util.h"
#include <cerrno>
#include <gtest/gtest.h>
#include <libv4l2.h>

namespace {
int sError = 0, sRequests = 0;
} // namespace

/// Stands in for libv4l2's in this test program: a camera that refuses everything.
extern "C" int v4l2_ioctl(int, unsigned long, ...)
{
    ++sRequests;
    errno = sError;
    return -1;
}

TEST(RetryPolicy, RepeatsAllButTheTransientErrors)
{
    const std::pair<int, int> cases[] = {{EAGAIN, 1}, {EINTR, 1}, {ETIMEDOUT, 1}, {EBUSY, 5}, {ENODEV, 5}, {EIO, 5}};
    for (const auto& [error, attempts] : cases) {
        sError = error;
        sRequests = 0;
        EXPECT_LT(v4l2IoctlWithRetry(0, requestCode(VIDIOC_STREAMON), nullptr), 0);
        EXPECT_EQ(errno, error);
        EXPECT_EQ(sRequests, attempts) << error;
    }
}

TEST(VideoMemory, AFailedDequeueHandsOutNoBytes)
{
    sError = ENODEV;
    SVideoMemory memory{};
    memory.videoBuffer.bytesused = 4096; // of the frame before
    void* frame = nullptr;
    testing::internal::CaptureStderr();
    EXPECT_EQ(dequeueFrameBuffer(0, &memory, &frame), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to dequeue frame buffer... (No such device)\n");
    EXPECT_EQ(memory.dequeueError, ENODEV);
}

TEST(FatalFailure, SaysWhatAndEndsWithStatus255)
{
    sError = ENODEV;
    SVideoMemory memory{};
    EXPECT_EXIT(allocateVideoMemory(0, &memory), testing::ExitedWithCode(255), " allocation failed, exiting... ");
    EXPECT_EXIT(releaseVideoMemory(0, &memory), testing::ExitedWithCode(255), "deallocation failed, exiting... ");
    EXPECT_EXIT(cameraDeviceStopStreaming(0), testing::ExitedWithCode(255),
                "Failed to start streaming, exiting... \\(No such device\\)\n");
    EXPECT_EXIT(initCameraDevice("/dev/no-camera"), testing::ExitedWithCode(255),
                "Camera initialization failed, exiting \\(No such file or directory\\)...\n");
}
