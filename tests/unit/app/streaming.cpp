#include "streaming.h"

#include "Ending.h"
#include "FrameGate.h"
#include "StreamStatus.h"
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;

TEST(Unplugging, IsSaidOnceAndNothingIsRecordedUntilASignOfLife)
{
    updateStreamStatus([](SStreamStatus& status) { status.cameraConnected = true; });
    testing::internal::CaptureStderr();
    cameraUnplugged();
    cameraUnplugged();
    EXPECT_FALSE(readStreamStatus().cameraConnected);
    startRecordingAdv();
    startRecordingFits();
    startRecordingSingleFits(0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "The camera was unplugged\n"
                                                      "The recording was refused: the camera was unplugged\n"
                                                      "The recording was refused: the camera was unplugged\n"
                                                      "The FITS file was refused: the camera was unplugged\n");
    streamIsAlive();
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
