#include "Observing.h"

#include <gtest/gtest.h>

// Fails when a disk that stands still for two seconds now and then costs a frame at the camera's full rate.
TEST(SlowDisk, LosesNoFrameAtFullSizeAndRate)
{
    if (sIsSanitized)
        GTEST_SKIP() << "in real time";
    Program program({.simulator = loading(OBRI_HINDRANCE), .environment = {{"OBRI_TEST_SLOW_DISK", "2000,2000"}}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(setExposure(program, 40)); // 13.3 frames a second
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    const size_t frames = isNightly() ? 600 : 90;
    ASSERT_TRUE(program.waitForMoreFrames(frames));
    ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    quit(program);

    const SHeld held = judgeRecording(program);
    const size_t stops = countLines(program.standardError(), "hindrance: the disk stands still");
    EXPECT_GE(stops, held.frames / 70) << "the disk was not slow at all";
    printf("slow disk: %zu frames recorded, the disk stood still %zu times for two seconds, %zu lost\n", held.frames,
           stops, held.lostByCamera);
    EXPECT_GE(held.frames, frames - 5);
    expectNoneLost(held);
}
