#include "streaming.h"

#include "camera_control.h"
#include "Ending.h"
#include "FakeCamera.h"
#include "FrameGate.h"
#include "streaming_thread.h"
#include "StreamStatus.h"
#include <atomic>
#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

/// A stream whose descriptor is always ready, as that of a dead camera is.
class Streaming : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(write(ends[1], "x", 1), 1);
        obriCam().fd = ends[0];
        startStreaming();
    }

    void TearDown() override
    {
        camera.refusal.clear();
        stopStreaming();
        close(ends[0]), close(ends[1]);
    }

    /// What a number of rounds say on standard error.
    std::string runRounds(int rounds)
    {
        testing::internal::CaptureStderr();
        for (int i = 0; i < rounds; ++i)
            streamingThreadRun();
        return testing::internal::GetCapturedStderr();
    }

    FakeCamera camera;
    int ends[2];
};

} // namespace

TEST_F(Streaming, StartAndStopTwiceAreLikeOnceAndEveryStartIsAnotherSession)
{
    startStreaming();
    EXPECT_EQ(camera.count(VIDIOC_STREAMON), 1);
    EXPECT_EQ(getIsStreaming(), 1);
    const uint64_t first = frameGate().session();
    stopStreaming();
    stopStreaming();
    EXPECT_EQ(camera.count(VIDIOC_STREAMOFF), 1);
    EXPECT_EQ(getIsStreaming(), 0);
    EXPECT_EQ(camera.mappings, 0);
    EXPECT_EQ(frameGate().session(), 0u);
    startStreaming();
    EXPECT_NE(frameGate().session(), first);
}

TEST_F(Streaming, AStreamThatFailsAgainAndAgainIsStartedAgainAndThatIsSaidOnce)
{
    camera.refusal[VIDIOC_DQBUF] = EIO;
    const auto began = std::chrono::steady_clock::now();
    const std::string said = runRounds(6);
    const auto passed = std::chrono::steady_clock::now() - began;
    EXPECT_GE(passed, 3900ms) << "one attempt a second";
    EXPECT_EQ(camera.count(VIDIOC_STREAMOFF), 2);
    EXPECT_EQ(camera.count(VIDIOC_STREAMON), 3);
    const size_t line = said.find("The stream has died");
    ASSERT_NE(line, std::string::npos);
    EXPECT_EQ(said.find("The stream has died", line + 1), std::string::npos);
    EXPECT_EQ(getIsStreaming(), 1);
}

TEST_F(Streaming, AnUnpluggedCameraIsNeitherStoppedNorStarted)
{
    updateStreamStatus([](SStreamStatus& status) { status.cameraConnected = true; });
    for (const uint32_t request : {VIDIOC_DQBUF, VIDIOC_QBUF, VIDIOC_QUERYCAP, VIDIOC_STREAMOFF})
        camera.refusal[request] = ENODEV;
    const std::string said = runRounds(2);
    EXPECT_EQ(camera.count(VIDIOC_STREAMOFF), 0);
    EXPECT_EQ(camera.count(VIDIOC_STREAMON), 1);
    EXPECT_EQ(said, "Failed to dequeue frame buffer... (No such device)\n"
                    "Failed to enqueue frame buffer... (No such device)\n"
                    "The camera was unplugged\n"
                    "Failed to dequeue frame buffer... (No such device)\n"
                    "Failed to enqueue frame buffer... (No such device)\n");
    EXPECT_FALSE(readStreamStatus().cameraConnected);

    testing::internal::CaptureStderr();
    startRecordingAdv();
    startRecordingFits();
    startRecordingSingleFits(0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "The recording was refused: the camera was unplugged\n"
                                                      "The recording was refused: the camera was unplugged\n"
                                                      "The FITS file was refused: the camera was unplugged\n");
    camera.refusal.clear();
    camera.bytesUsed = 1;
    runRounds(1); // a sign of life
    EXPECT_TRUE(readStreamStatus().cameraConnected);
}

TEST(EndingDeathTest, WaitsForAFrameThatFailsFatallyItselfAndKeepsItsOwnStatus)
{
    const auto bothEnd = [] {
        std::atomic<bool> inFrame{false};
        std::thread streaming([&] {
            const FrameGate::Control frame(frameGate());
            inFrame = true;
            std::this_thread::sleep_for(100ms);
            endProcess(sFailureStatus);
        });
        while (!inFrame)
            std::this_thread::yield();
        endProcess(3);
    };
    EXPECT_EXIT(bothEnd(), testing::ExitedWithCode(3), "");
}
