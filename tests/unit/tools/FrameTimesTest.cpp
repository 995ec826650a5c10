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

class Regular : public testing::TestWithParam<double> {}; // period in ms

TEST_P(Regular, SequencesHaveNoGapsWhateverTheGrain)
{
    const auto frames = sequence(3000, GetParam(), GetParam() * 0.97);
    EXPECT_TRUE(findGaps(frames, true).empty());
    EXPECT_TRUE(findGaps(frames, false).empty());
}

INSTANTIATE_TEST_SUITE_P(Period, Regular, testing::Values(1.2, 2.0, 5.0, 33.3667, 76.923, 1000.4, 12000.9));

TEST(FrameTimes, LossIsJudgedByTheCounterAcrossItsWrap)
{
    auto frames = sequence(40, 33.37, 30, 0xFFFFFFF0);
    EXPECT_TRUE(findGaps(frames, true).empty());
    frames.erase(frames.begin() + 15, frames.begin() + 18); // the counter wraps among the lost
    const auto gaps = findGaps(frames, true);
    ASSERT_EQ(gaps.size(), 1u);
    EXPECT_EQ(gaps[0].kind, EGap::FramesLost);
    EXPECT_EQ(gaps[0].before, 14u);
    EXPECT_EQ(gaps[0].missing, 3u);
    EXPECT_NEAR(static_cast<double>(gaps[0].expectedNs), 4 * 33.37 * sMs, 0.5 * sMs);
    EXPECT_NE(gapTable(gaps, frames, true).find("4294967294 > 2"), std::string::npos);
}

TEST(FrameTimes, WithoutCounterALongStepCountsTheLost)
{
    auto frames = sequence(40, 33.37, 30);
    frames.erase(frames.begin() + 20, frames.begin() + 25);
    const auto gaps = findGaps(frames, false);
    ASSERT_EQ(gaps.size(), 1u);
    EXPECT_EQ(gaps[0].missing, 5u);
    EXPECT_EQ(framesLost(gaps), 5u);
}

TEST(FrameTimes, OddCountersAndTimesAreToldApart)
{
    auto frames = sequence(60, 40, 38);
    frames[10].counter = frames[9].counter; // and so the next one jumps by two
    for (size_t i = 20; i < frames.size(); ++i)
        frames[i].counter -= 1000;
    for (size_t i = 30; i < frames.size(); ++i) // the clock is set by a second
        frames[i].startNs += 1000 * sMs, frames[i].endNs += 1000 * sMs;
    for (size_t i = 40; i < frames.size(); ++i) // and back by two
        frames[i].startNs -= 2000 * sMs, frames[i].endNs -= 2000 * sMs;
    const auto gaps = findGaps(frames, true);
    ASSERT_EQ(gaps.size(), 5u);
    const std::pair<size_t, EGap> expected[] = {{9, EGap::Repeated},
                                                {10, EGap::FramesLost},
                                                {19, EGap::CounterBack},
                                                {29, EGap::TimeStep},
                                                {39, EGap::TimeBackward}};
    for (size_t i = 0; i < gaps.size(); ++i)
        EXPECT_EQ(std::make_pair(gaps[i].before, gaps[i].kind), expected[i]);
}

TEST(FrameTimes, AChangeOfExposureIsNoGap)
{
    auto frames = sequence(40, 40, 38);
    const int64_t after = frames.back().startNs + 40 * sMs;
    for (size_t i = 0; i < 40; ++i)
        frames.push_back({after + static_cast<int64_t>(i) * 500 * sMs,
                          after + static_cast<int64_t>(i) * 500 * sMs + 498 * sMs, static_cast<uint32_t>(140 + i)});
    EXPECT_TRUE(findGaps(frames, true).empty());
    EXPECT_TRUE(findGaps(frames, false).empty());
}

TEST(FrameTimes, ExtremeTimesAreSurvived)
{
    std::vector<SFrameTime> frames;
    for (int i = 0; i < 50; ++i)
        frames.push_back(
            {i % 3 ? INT64_MAX - i : INT64_MIN + i, i % 2 ? INT64_MIN : INT64_MAX, 0xFFFFFFFFu * (i & 1u)});
    EXPECT_FALSE(gapTable(findGaps(frames, true), frames, true).empty());
    EXPECT_FALSE(gapTable(findGaps(frames, false), frames, false).empty());
    EXPECT_TRUE(findGaps({}, true).empty());
}

} // namespace
