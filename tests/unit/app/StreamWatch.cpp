#include "StreamWatch.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

constexpr StreamWatch::Time sBegin{1h};

bool deadAfter(const StreamWatch& watch, std::chrono::milliseconds silence)
{
    return watch.timedOut(sBegin + silence) == EStreamVerdict::Dead;
}

} // namespace

TEST(StreamWatch, SilenceIsJudgedByTheExposure)
{
    StreamWatch watch;
    watch.noteExposureTime(100);
    watch.frameArrived(sBegin);
    EXPECT_FALSE(deadAfter(watch, 12s)) << "the camera may have been at an exposure of its own";
    watch.frameArrived(sBegin);
    EXPECT_FALSE(deadAfter(watch, 3s));
    EXPECT_TRUE(deadAfter(watch, 4s));
    watch.noteExposureTime(4999);
    EXPECT_FALSE(deadAfter(watch, 12s));
    EXPECT_TRUE(deadAfter(watch, 14s));
    watch.noteExposureTime(100);
    EXPECT_FALSE(deadAfter(watch, 12s)) << "the long exposure may still be under way";
    watch.noteExposureTime(4999);
    watch.frameArrived(sBegin);
    watch.noteExposureTime(100);
    watch.frameArrived(sBegin);
    EXPECT_FALSE(deadAfter(watch, 12s)) << "and was while the frame before it was read out";
    watch.frameArrived(sBegin);
    watch.noteExposureTime(4999);
    watch.noteExposureTime(100);
    watch.frameArrived(sBegin);
    EXPECT_FALSE(deadAfter(watch, 12s)) << "and may have begun between two settings";
    watch.frameArrived(sBegin);
    watch.bufferWasEmpty();
    EXPECT_FALSE(deadAfter(watch, 1s));
    EXPECT_TRUE(deadAfter(watch, 2s));
    watch.frameArrived(sBegin);
    EXPECT_FALSE(deadAfter(watch, 3s)) << "the stream recovered by itself";
    EXPECT_TRUE(deadAfter(watch, 4s));
}

TEST(StreamWatch, RepeatedFailuresAreADeadStreamAndNoDeviceIsNone)
{
    StreamWatch watch;
    for (const auto verdict : {EStreamVerdict::Patience, EStreamVerdict::Patience, EStreamVerdict::Dead})
        EXPECT_EQ(watch.dequeueFailed(EIO), verdict);
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience) << "the next attempt takes its time again";
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience);
    watch.frameArrived(sBegin);
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience);
    EXPECT_EQ(watch.dequeueFailed(ENODEV), EStreamVerdict::Unplugged);
}
