#include "FrameTimes.h"

#include <gmock/gmock.h>

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

/// All times from a frame on are moved.
void setClock(std::vector<SFrameTime>& frames, size_t from, int64_t byMs)
{
    for (size_t i = from; i < frames.size(); ++i) {
        frames[i].startNs += byMs * sMs;
        frames[i].endNs += byMs * sMs;
    }
}

TEST(FrameTimes, RegularSequencesHaveNoGapsWhateverTheGrainAndTheExposure)
{
    for (const double periodMs : {1.2, 2.0, 5.0, 33.3667, 76.923, 1000.4, 12000.9}) {
        auto frames = sequence(3000, periodMs, periodMs * 0.97);
        const auto longer = sequence(40, periodMs * 5, periodMs * 5 - 2, 3100);
        frames.insert(frames.end(), longer.begin(), longer.end());
        setClock(frames, 3000, static_cast<int64_t>(3000 * periodMs));
        for (const bool hasCounter : {true, false})
            EXPECT_TRUE(findGaps(frames, hasCounter).empty()) << periodMs;
    }
}

TEST(FrameTimes, LossIsJudgedByTheCounterAcrossItsWrapElseByTime)
{
    auto frames = sequence(40, 33.37, 30, 0xFFFFFFF0);
    frames.erase(frames.begin() + 15, frames.begin() + 18); // the counter wraps among the lost
    for (const bool hasCounter : {true, false}) {
        const auto gaps = findGaps(frames, hasCounter);
        ASSERT_EQ(gaps.size(), 1u);
        EXPECT_EQ(std::tuple(gaps[0].kind, gaps[0].before, gaps[0].missing), std::tuple(EGap::FramesLost, 14u, 3u));
        EXPECT_NE(gapTable(gaps, frames, true).find("4294967294 > 2"), std::string::npos);
    }
}

TEST(FrameTimes, OddCountersAndTimesAreToldApart)
{
    auto frames = sequence(60, 40, 38);
    frames[10] = frames[9]; // its data block could not be read: the next count jumps by two, and none is lost
    for (size_t i = 20; i < frames.size(); ++i)
        frames[i].counter -= 1000;
    setClock(frames, 30, 1000);
    setClock(frames, 40, -2000);
    const auto gaps = findGaps(frames, true);
    std::vector<std::pair<size_t, EGap>> found;
    for (const SGap& gap : gaps)
        found.emplace_back(gap.before, gap.kind);
    EXPECT_THAT(found, testing::ElementsAre(std::pair(9, EGap::Repeated), std::pair(19, EGap::CounterBack),
                                            std::pair(29, EGap::TimeStep), std::pair(39, EGap::TimeBackward)));
}

} // namespace
