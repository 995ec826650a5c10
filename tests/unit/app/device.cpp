#include "device.h"

#include "FakeCamera.h"
#include "util.h"
#include <cerrno>
#include <gtest/gtest.h>

namespace {
constexpr int sFd = 42;
} // namespace

TEST(RetryPolicy, RepeatsAllButTheTransientErrors)
{
    const std::pair<int, int> cases[] = {{EAGAIN, 1}, {EINTR, 1}, {ETIMEDOUT, 1}, {EBUSY, 5}, {ENODEV, 5}, {EIO, 5}};
    for (const auto& [error, attempts] : cases) {
        FakeCamera camera;
        camera.refusal[VIDIOC_STREAMON] = error;
        EXPECT_LT(v4l2IoctlWithRetry(sFd, requestCode(VIDIOC_STREAMON), nullptr), 0);
        EXPECT_EQ(errno, error);
        EXPECT_EQ(camera.count(VIDIOC_STREAMON), attempts) << error;
    }
}

TEST(VideoMemory, AFailedDequeueHandsOutNoBytes)
{
    FakeCamera camera;
    SVideoMemory memory{};
    int first = 0, third = 0;
    memory.mem[0] = &first, memory.mem[2] = &third;
    camera.bytesUsed = 4096;
    void* frame = nullptr;
    EXPECT_EQ(dequeueFrameBuffer(sFd, &memory, &frame), 4096);
    EXPECT_EQ(frame, &third);
    camera.refusal[VIDIOC_DQBUF] = ENODEV;
    testing::internal::CaptureStderr();
    EXPECT_EQ(dequeueFrameBuffer(sFd, &memory, &frame), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to dequeue frame buffer... (No such device)\n");
    EXPECT_EQ(memory.dequeueError, ENODEV);
}

TEST(FatalFailure, SaysWhatAndEndsWithStatus255)
{
    FakeCamera camera;
    SVideoMemory memory{};
    camera.refusal = {{VIDIOC_REQBUFS, EBUSY}, {VIDIOC_STREAMOFF, ENODEV}};
    EXPECT_EXIT(allocateVideoMemory(sFd, &memory), testing::ExitedWithCode(255), " allocation failed, exiting... ");
    EXPECT_EXIT(releaseVideoMemory(sFd, &memory), testing::ExitedWithCode(255), "deallocation failed, exiting... ");
    EXPECT_EXIT(cameraDeviceStopStreaming(sFd), testing::ExitedWithCode(255),
                "Failed to start streaming, exiting... \\(No such device\\)\n");
    EXPECT_EXIT(initCameraDevice("/dev/video0"), testing::ExitedWithCode(255),
                "Camera initialization failed, exiting \\(Permission denied\\)...\n");
}
