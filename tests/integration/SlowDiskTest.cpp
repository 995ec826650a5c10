#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::IsEmpty;

// Fails when a disk that takes 200 ms for a block now and then costs a frame at the camera's full rate.
TEST(SlowDisk, LosesNoFrameAtFullSizeAndRate)
{
    if (sIsSanitized)
        GTEST_SKIP() << "in real time";
    Program program({.simulator = loading(OBRI_HINDRANCE), .environment = {{"OBRI_TEST_SLOW_DISK", "9,200"}}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(setExposure(program, 40)); // 13.3 frames a second
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    const size_t frames = isNightly() ? 600 : 90;
    ASSERT_TRUE(program.waitForMoreFrames(frames));
    ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    quit(program);

    const auto camera = parseFrameLog(program.frameLog());
    const auto recording = program.folder() / "recording.adv";
    EXPECT_THAT(differences(recording, camera), IsEmpty());
    const SHeld held = framesHeld(recording, camera);
    EXPECT_EQ(lossToldBy(program), held.lostByCamera);
    const size_t slow = countLines(program.standardError(), "hindrance: a slow block");
    EXPECT_GE(slow, held.frames / 10) << "the disk was not slow at all";
    printf("slow disk: %zu frames recorded, %zu of them 200 ms late, %zu lost\n", held.frames, slow, held.lostByCamera);
    if (held.lostByCamera > 0 && isBusyElsewhere())
        GTEST_SKIP() << "the machine is busy elsewhere";
    EXPECT_GE(held.frames, frames - 5);
    EXPECT_EQ(held.lostByCamera, 0u) << "no buffer was free";
}
