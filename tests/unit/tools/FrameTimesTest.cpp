#include "FrameTimes.h"

#include <gtest/gtest.h>

namespace {

using namespace obriadv;

constexpr int64_t sMs = 1'000'000;

/// Frames as a camera stamps them: every time cut to whole milliseconds.
std::vector<SFrameTime> sequence(size_t count, double periodMs, double exposureMs, uint32_t firstCounter = 100)
{
    std::vector<SFrameTime> frames;
    for (size_t i = 0; i < count; ++i) {
        const double start = 0.37 + periodMs * static_cast<double>(i);
        frames.push_back({static_cast<int64_t>(start) * sMs, static_cast<int64_t>(start + exposureMs) * sMs,
                          static_cast<uint32_t>(firstCounter + i)});
    }
    return frames;
}

TEST(FrameTimes, RegularSequencesHaveNoGapsWhateverTheGrain)
{
    for (const double periodMs : {1.2, 2.0, 5.0, 33.3667, 76.923, 1000.4, 12000.9}) {
        const auto frames = sequence(3000, periodMs, periodMs * 0.97);
        EXPECT_TRUE(findGaps(frames, true).empty()) << periodMs;
        EXPECT_TRUE(findGaps(frames, false).empty()) << periodMs;
    }
}

TEST(FrameTimes, LossIsJudgedByTheCounterAcrossItsWrapElseByTime)
{
    auto frames = sequence(40, 33.37, 30, 0xFFFFFFF0);
    frames.erase(frames.begin() + 15, frames.begin() + 18); // the counter wraps among the lost
    for (const bool hasCounter : {true, false}) {
        const auto gaps = findGaps(frames, hasCounter);
        ASSERT_EQ(gaps.size(), 1u);
        EXPECT_EQ(gaps[0].kind, EGap::FramesLost);
        EXPECT_EQ(gaps[0].before, 14u);
        EXPECT_EQ(gaps[0].missing, 3u);
        EXPECT_NE(gapTable(gaps, frames, true).find("4294967294 > 2"), std::string::npos);
    }
}

TEST(FrameTimes, OddCountersAndTimesAreToldApart)
{
    auto frames = sequence(60, 40, 38);
    frames[10] = frames[9]; // its data block could not be read: the next count jumps by two, and none is lost
    for (size_t i = 20; i < frames.size(); ++i)
        frames[i].counter -= 1000;
    for (size_t i = 30; i < frames.size(); ++i) // the clock is set by a second
        frames[i].startNs += 1000 * sMs, frames[i].endNs += 1000 * sMs;
    for (size_t i = 40; i < frames.size(); ++i) // and back by two
        frames[i].startNs -= 2000 * sMs, frames[i].endNs -= 2000 * sMs;
    const auto gaps = findGaps(frames, true);
    ASSERT_EQ(gaps.size(), 4u);
    const std::pair<size_t, EGap> expected[] = {
        {9, EGap::Repeated}, {19, EGap::CounterBack}, {29, EGap::TimeStep}, {39, EGap::TimeBackward}};
    for (size_t i = 0; i < gaps.size(); ++i)
        EXPECT_EQ(std::make_pair(gaps[i].before, gaps[i].kind), expected[i]);
}

TEST(FrameTimes, AChangeOfExposureIsNoGap)
{
    auto frames = sequence(40, 40, 38);
    for (SFrameTime frame : sequence(40, 500, 498, 140)) {
        frame.startNs += 40 * 40 * sMs;
        frame.endNs += 40 * 40 * sMs;
        frames.push_back(frame);
    }
    EXPECT_TRUE(findGaps(frames, true).empty());
    EXPECT_TRUE(findGaps(frames, false).empty());
}

} // namespace
