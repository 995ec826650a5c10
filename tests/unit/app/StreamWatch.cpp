#include "StreamWatch.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class StreamWatchTest : public testing::Test {
protected:
    void SetUp() override
    {
        watch.noteExposureTime(100);
        watch.frameArrived(begin);
    }

    bool deadAfter(std::chrono::milliseconds silence) const
    {
        return watch.timedOut(begin + silence) == EStreamVerdict::Dead;
    }

    StreamWatch::Time begin{1h};
    StreamWatch watch;
};

} // namespace

TEST_F(StreamWatchTest, SilenceIsJudgedByTheExposure)
{
    EXPECT_FALSE(deadAfter(3s));
    EXPECT_TRUE(deadAfter(4s));
    watch.noteExposureTime(4999);
    EXPECT_FALSE(deadAfter(12s));
    EXPECT_TRUE(deadAfter(14s));
    watch.noteExposureTime(100);
    EXPECT_FALSE(deadAfter(12s)) << "the long exposure may still be under way";
    watch.frameArrived(begin);
    watch.bufferWasEmpty();
    EXPECT_FALSE(deadAfter(1s));
    EXPECT_TRUE(deadAfter(2s));
    watch.frameArrived(begin);
    EXPECT_FALSE(deadAfter(3s)) << "the stream recovered by itself";
    EXPECT_TRUE(deadAfter(4s));
}

TEST_F(StreamWatchTest, RepeatedFailuresAreADeadStreamAndNoDeviceIsNone)
{
    for (const auto verdict : {EStreamVerdict::Patience, EStreamVerdict::Patience, EStreamVerdict::Dead})
        EXPECT_EQ(watch.dequeueFailed(EIO), verdict);
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience) << "the next attempt takes its time again";
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience);
    watch.frameArrived(begin);
    EXPECT_EQ(watch.dequeueFailed(EIO), EStreamVerdict::Patience);
    EXPECT_EQ(watch.dequeueFailed(ENODEV), EStreamVerdict::Unplugged);
}
