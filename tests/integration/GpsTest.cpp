#include "Observing.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;
using namespace std::chrono_literals;
using Nanoseconds = std::chrono::nanoseconds;
using SysNs = std::chrono::sys_time<Nanoseconds>;

constexpr SysNs s2010 = sys_days(2010y / 1 / 1), s2059 = sys_days(2059y / 1 / 1);

// The night of the test: camera seconds from switch-on to midnight, and when its GPS has a fix.
constexpr auto sMidnight = 13s, sFixAfter = 11s, sLoseFrom = 14s, sLoseFor = 2s, sEnd = 17s;

struct SNight {
    const char* name;
    year_month_day tomorrow;
    int failingYear; ///< of the two, the one beyond the range that can be recorded; 0: none
};

constexpr SNight sNights[] = {{"RangeEnds", 2059y / 1 / 1, 2059},
                              {"RangeBegins", 2010y / 1 / 1, 2009},
                              {"LeapDayBegins", 2028y / 2 / 29, 0},
                              {"LeapDayEnds", 2028y / 3 / 1, 0},
                              {"LastYearBegins", 2058y / 1 / 1, 0}};

std::ostream& operator<<(std::ostream& stream, const SNight& night)
{
    return stream << night.name;
}

bool isInRange(int64_t since2010Ns)
{
    return since2010Ns >= 0 && since2010Ns < Nanoseconds(s2059 - s2010).count();
}

/// Nanoseconds since 2010 that a record holds for a time of the camera; a year that cannot be converted leaves the
/// first second of 1970 with the milliseconds.
int64_t recordedNs(int64_t since2010Ns)
{
    const Nanoseconds time(since2010Ns), part = time - std::chrono::floor<std::chrono::seconds>(time);
    return isInRange(since2010Ns) ? since2010Ns : (part - s2010.time_since_epoch()).count();
}

/// What stands for the time of a frame as a whole; a failed conversion leaves the first moment of 1601.
int64_t systemTimeNs(int64_t startNs)
{
    constexpr uint64_t sTicksOf1601 = 504911232000000000, sTicksOf2010 = 633979008000000000;
    return isInRange(startNs) ? startNs : static_cast<int64_t>((sTicksOf1601 - sTicksOf2010) * 100);
}

bool hasFix(const SCameraFrame& frame, SysNs switchOn)
{
    const auto passed = s2010 + Nanoseconds(frame.startNs) - switchOn;
    return passed >= sFixAfter && (passed < sLoseFrom || passed >= sLoseFrom + sLoseFor);
}

void expectRecorded(const obriadv::SAdvFrame& frame, const SCameraFrame& sent, SysNs switchOn)
{
    EXPECT_EQ(frame.startNs, recordedNs(sent.startNs));
    EXPECT_EQ(frame.endNs, recordedNs(sent.endNs));
    EXPECT_EQ(frame.midNs, (static_cast<uint64_t>(frame.startNs) + static_cast<uint64_t>(frame.endNs)) >> 1);
    EXPECT_EQ(frame.status.systemTimeNs, systemTimeNs(sent.startNs));
    EXPECT_EQ(frame.status.fixStatus, hasFix(sent, switchOn) ? 3 : 0);
    EXPECT_EQ(frame.status.satellites > 3, hasFix(sent, switchOn));
}

class NightOf : public testing::TestWithParam<SNight> {};

} // namespace

// Fails when midnight, a leap day, the end of the range of years, or a GPS fix that comes and goes spoils a
// recorded time or the GPS state beside it.
TEST_P(NightOf, RecordsTimesAndFixAsTheCameraSentThem)
{
    const SNight& night = GetParam();
    const std::chrono::sys_seconds switchOn = sys_days(night.tomorrow) - sMidnight;
    const auto text = [](auto seconds) { return std::to_string(seconds.count()); };
    Program program({.simulator = {"--start-time", text(switchOn.time_since_epoch()), "--gps-fix-after",
                                   text(sFixAfter), "--gps-lose", text(sLoseFrom) + "," + text(sLoseFor)}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sSmallSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    const int64_t endNs = Nanoseconds(switchOn + sEnd - s2010).count();
    ASSERT_TRUE(waitFor([&] { return parseFrameLog(program.frameLog()).rbegin()->second.startNs > endNs; }));
    ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    quit(program);

    obriadv::AdvFile file;
    ASSERT_EQ(file.open(program.folder() / "recording.adv"), "");
    const auto sent = parseFrameLog(program.frameLog());
    size_t fixChanges = 0, failures = 0;
    for (size_t n = 0; n < file.frames().size() && !HasFailure(); ++n) {
        const obriadv::SAdvFrame& frame = file.frames()[n];
        expectRecorded(frame, sent.at(frame.status.cameraFrameId), switchOn);
        failures += !isInRange(sent.at(frame.status.cameraFrameId).startNs);
        fixChanges += n > 0 && frame.status.fixStatus != file.frames()[n - 1].status.fixStatus;
    }
    if (hasFix(sent.at(file.frames().front().status.cameraFrameId), switchOn))
        GTEST_SKIP() << "the machine is too slow: the night had begun before the recording";
    EXPECT_EQ(fixChanges, 3u) << "found, lost and found again";

    const std::string warning = "W Parsing camera timestamp failed, year:  " + std::to_string(night.failingYear) + "\n";
    EXPECT_EQ(countLines(program.log(), "timestamp failed") > 0, night.failingYear != 0);
    EXPECT_EQ(program.log().find(warning) != std::string::npos, night.failingYear != 0);
    EXPECT_EQ(failures > 10, night.failingYear != 0);
    EXPECT_EQ(framesHeld(program.folder() / "recording.adv", sent).missing, 0u);
}

INSTANTIATE_TEST_SUITE_P(Before, NightOf, testing::ValuesIn(sNights, sNights + (isNightly() ? std::size(sNights) : 1)),
                         testing::PrintToStringParamName());
