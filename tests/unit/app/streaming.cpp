#include "streaming.h"

#include "camera_control.h"
#include "Ending.h"
#include "FakeCamera.h"
#include "Log.h"
#include "StreamStatus.h"
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/uvcvideo.h>
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

TEST_F(Streaming, StartAndStopTwiceAreLikeOnce)
{
    startStreaming();
    EXPECT_EQ(camera.count(VIDIOC_STREAMON), 1);
    EXPECT_EQ(getIsStreaming(), 1);
    stopStreaming();
    stopStreaming();
    EXPECT_EQ(camera.count(VIDIOC_STREAMOFF), 1);
    EXPECT_EQ(getIsStreaming(), 0);
    EXPECT_EQ(camera.mappings, 0);
}

TEST_F(Streaming, EveryStartIsAnotherSessionAndAStopIsNone)
{
    const uint64_t first = frameGate().session();
    stopStreaming();
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
    EXPECT_LT(passed, 5900ms) << "a stream started again is waited for at once: its frames come";
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

namespace {

/// A recording of 176 x 128 pixels in a folder of its own; its stream delivers black frames.
class ActiveRecording : public Streaming {
protected:
    void SetUp() override
    {
        ASSERT_EQ(chdir(testing::TempDir().c_str()), 0);
        remove("recording.adv");
        Streaming::SetUp();
        setResolution(176, 128);
        camera.bytesUsed = 176 * 128 * 2;
        streamingThreadRun(); // a recording needs a frame of its size first
        startRecordingAdv();
        ASSERT_EQ(getIsRecording(), 1);
        streamingThreadRun();
    }

    void TearDown() override
    {
        stopRecording();
        Streaming::TearDown();
    }

    /// The start of the index table, patched into the header when a recording ends properly.
    static uint64_t indexPosition()
    {
        std::ifstream file("recording.adv", std::ios::binary);
        uint64_t position = 0;
        file.seekg(9).read(reinterpret_cast<char*>(&position), sizeof position);
        return position;
    }
};

using ActiveRecordingDeathTest = ActiveRecording;

} // namespace

TEST_F(ActiveRecording, EndsProperlyBeforeTheSizeChangesAndGoesOnWhenItDoesNot)
{
    setResolution(176, 128);
    EXPECT_EQ(getIsRecording(), 1);
    testing::internal::CaptureStderr();
    setResolution(408, 310);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "The resolution changes: the recording ends here\n");
    EXPECT_EQ(getIsRecording(), 0);
    EXPECT_NE(indexPosition(), 0u);
}

TEST_F(ActiveRecording, IsMadeWholeWhenTheCameraIsUnplugged)
{
    camera.refusal[VIDIOC_DQBUF] = ENODEV;
    EXPECT_NE(runRounds(1).find("The camera was unplugged: the recording ends here\n"), std::string::npos);
    EXPECT_EQ(getIsRecording(), 0);
    EXPECT_NE(indexPosition(), 0u);
}

TEST_F(ActiveRecordingDeathTest, IsMadeWholeWhenTheProcessEnds)
{
    camera.refusal[UVCIOC_CTRL_QUERY] = EPIPE;
    EXPECT_EXIT(setGain(3), testing::ExitedWithCode(255), "Failed to access extension unit, exiting... ");
    EXPECT_NE(indexPosition(), 0u);
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

TEST(EndingDeathTest, LeavesControlModeWithoutMindingAFailureAndClosesTheLog)
{
    ASSERT_EQ(chdir(testing::TempDir().c_str()), 0);
    const auto end = [] {
        FakeCamera camera;
        setObriMode(1);
        libobribase::logOpen("/tmp", '/');
        camera.refusal[UVCIOC_CTRL_QUERY] = ENODEV;
        dup2(STDERR_FILENO, STDOUT_FILENO);
        endProcess(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "^setObriMode: en=1\nsetObriMode: en=0\n$");
    EXPECT_EQ(system("tail -n 1 obri_app_log_*.txt | grep -q 'Closing Log File'"), 0);
}
