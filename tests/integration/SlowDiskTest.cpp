#include "Observing.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* sTooSlow = "W The disk is too slow for the recording";

/// Records so many full frames, 13.3 a second, to a disk that stands still for so many ms after two seconds of work.
/// @return true when the program says that the disk is too slow.
bool record(size_t frames, int standsStillMs, SHeld* held)
{
    Program program({.simulator = loading(OBRI_HINDRANCE),
                     .environment = {{"OBRI_TEST_SLOW_DISK", "2000," + std::to_string(standsStillMs)}}});
    streamAt(program, sFullSize);
    setExposure(program, 40);
    startRecording(program);
    EXPECT_TRUE(program.waitForMoreFrames(frames));
    stopRecording(program);
    quit(program);
    *held = judgeRecording(program);
    const size_t stops = countLines(program.standardError(), "hindrance: the disk stands still");
    printf("slow disk: %zu frames recorded, the disk stood still %zu times for %d ms, %zu lost\n", held->frames, stops,
           standsStillMs, held->lostByCamera);
    EXPECT_GE(stops, 1u) << "the disk was not slow at all";
    EXPECT_GE(held->frames + held->lostByCamera, frames - 5) << "frames are missing at the end";
    return countLines(program.log(), sTooSlow) == 1;
}

} // namespace

// Fails when a disk that stands still for two seconds now and then costs a frame at the camera's full rate, or when one
// that stands still for longer than frames can wait is not told, or costs frames in silence.
TEST(SlowDisk, CostsFramesOnlyBeyondSecondsAndNeverInSilence)
{
    if (sIsSanitized)
        GTEST_SKIP() << "in real time";
    SHeld held;
    EXPECT_TRUE(record(120, 8000, &held));
    EXPECT_GT(held.lostByCamera, 0u);
    EXPECT_FALSE(record(isNightly() ? 600 : 90, 2000, &held));
    expectNoneLost(held);
}
