#include "device.h"

#include "FakeCamera.h"
#include "util.h"
#include <cerrno>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/uvcvideo.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr int sFd = 42;

struct SRetryCase {
    int error;
    int attempts;
};

class RetryPolicy : public testing::TestWithParam<SRetryCase> {};

} // namespace

TEST_P(RetryPolicy, RepeatsAllButTheTransientErrors)
{
    FakeCamera camera;
    camera.refusal[VIDIOC_STREAMON] = GetParam().error;
    EXPECT_LT(v4l2IoctlWithRetry(sFd, requestCode(VIDIOC_STREAMON), nullptr), 0);
    EXPECT_EQ(errno, GetParam().error);
    EXPECT_EQ(camera.count(VIDIOC_STREAMON), GetParam().attempts);
}

INSTANTIATE_TEST_SUITE_P(Errno, RetryPolicy,
                         testing::Values(SRetryCase{EAGAIN, 1}, SRetryCase{EINTR, 1}, SRetryCase{ETIMEDOUT, 1},
                                         SRetryCase{EBUSY, 5}, SRetryCase{ENODEV, 5}, SRetryCase{EIO, 5}),
                         [](const auto& test) { return strerrorname_np(test.param.error); });

TEST(VideoMemory, MapsAndQueuesEveryBufferAndGivesAllBack)
{
    FakeCamera camera;
    SVideoMemory memory{};
    allocateVideoMemory(sFd, &memory);
    mapVideoMemory(sFd, &memory);
    EXPECT_EQ(camera.mappings, 5);
    EXPECT_EQ(camera.count(VIDIOC_QBUF), 5);
    EXPECT_EQ(memory.videoBufferOffset[4], 4 * FakeCamera::sBufferLength);
    EXPECT_EQ(memory.videoBufferLength[4], FakeCamera::sBufferLength);
    unmapVideoMemory(sFd, &memory);
    releaseVideoMemory(sFd, &memory);
    EXPECT_EQ(camera.mappings, 0);
    EXPECT_EQ(camera.count(VIDIOC_REQBUFS), 2);
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
    EXPECT_EQ(frame, &first);
    EXPECT_EQ(memory.dequeueError, ENODEV);
}

TEST(FatalFailure, SaysWhatAndEndsWithStatus255)
{
    FakeCamera camera;
    SVideoMemory memory{};
    uint8_t data[5]{};
    camera.grantedBuffers = 4;
    EXPECT_EXIT(mapVideoMemory(sFd, &memory), testing::ExitedWithCode(255),
                "Request buffer querying failed, exiting... \\(Invalid argument\\)\n");
    camera.refusal = {{VIDIOC_REQBUFS, EBUSY}, {UVCIOC_CTRL_QUERY, EPIPE}, {VIDIOC_STREAMOFF, ENODEV}};
    EXPECT_EXIT(allocateVideoMemory(sFd, &memory), testing::ExitedWithCode(255), "allocation failed, exiting... ");
    EXPECT_EXIT(releaseVideoMemory(sFd, &memory), testing::ExitedWithCode(255), "deallocation failed, exiting... ");
    EXPECT_EXIT(cameraDeviceSetXu(sFd, 5, data, 5), testing::ExitedWithCode(255),
                "Failed to access extension unit, exiting... \\(Broken pipe\\)\n");
    EXPECT_EXIT(cameraDeviceStopStreaming(sFd), testing::ExitedWithCode(255),
                "Failed to start streaming, exiting... \\(No such device\\)\n");
    EXPECT_EXIT(initCameraDevice("/dev/video0"), testing::ExitedWithCode(255),
                "Camera initialization failed, exiting \\(Permission denied\\)...\n");
}

TEST(WaitForFrame, ReportsATimeOutAfterOneSecondAndAFrameAtOnce)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    testing::internal::CaptureStderr();
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(cameraDeviceWaitForFrame(ends[0]), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - began, 990ms);
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("Could not grab image (select timeout): ", 0), 0u);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_EQ(cameraDeviceWaitForFrame(ends[0]), 1);
    close(ends[0]), close(ends[1]);
}
