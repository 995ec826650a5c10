#include "LightCurve.h"
#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr double sNsPerS = 1e9;
constexpr double sUnixSecondsOf2010 = 1'262'304'000;
constexpr int sExposureMs = 100; // what the window sets at the start

/// A star that goes or comes, seconds since 2010.
struct SEvent {
    double at;
    bool isDisappearance;
};

/// Where the light crosses the middle between its lowest and its highest level, between two mid-exposure times.
std::vector<SEvent> eventsIn(const std::vector<obriadv::SLightPoint>& points)
{
    std::vector<double> fluxes;
    for (const auto& point : points)
        fluxes.push_back(point.flux);
    std::sort(fluxes.begin(), fluxes.end());
    const double dark = fluxes[fluxes.size() / 20], bright = fluxes[fluxes.size() * 19 / 20];
    const double middle = (dark + bright) / 2;
    std::vector<SEvent> events;
    for (size_t i = 1; i < points.size(); ++i) {
        const double from = points[i - 1].flux, to = points[i].flux;
        if ((from > middle) == (to > middle))
            continue;
        const double part = (middle - from) / (to - from);
        const auto start = static_cast<double>(points[i - 1].midNs), end = static_cast<double>(points[i].midNs);
        events.push_back({(start + part * (end - start)) / sNsPerS, from > middle});
    }
    return events;
}

/// What is said about the frame log as a whole: the numbers behind "# NAME", on the line that begins so.
std::vector<double> numbersAfter(const std::filesystem::path& log, const std::string& name)
{
    const std::string start = "# " + name + " ";
    std::vector<double> numbers;
    for (const std::string& line : linesOf(contentsOf(log))) {
        if (!line.starts_with(start))
            continue;
        std::istringstream words(line.substr(start.size()));
        for (double number; words >> number;)
            numbers.push_back(number);
    }
    return numbers;
}

/// What the camera's schedule holds between two moments, seconds since 2010.
std::vector<SEvent> scheduledEvents(const std::filesystem::path& frameLog, double from, double to)
{
    const auto schedule = numbersAfter(frameLog, "occultation");
    std::vector<SEvent> events;
    for (double shift = 0; schedule[0] / sNsPerS + shift - sUnixSecondsOf2010 < to; shift += schedule[2] / sNsPerS)
        for (const bool isDisappearance : {true, false}) {
            const double at = schedule[isDisappearance ? 0 : 1] / sNsPerS + shift - sUnixSecondsOf2010;
            if (at > from && at < to)
                events.push_back({at, isDisappearance});
        }
    return events;
}

} // namespace

// Fails when what the program is for does not come out: the moments at which the star went and came.
TEST(LightCurve, RecordedStarGivesTheEventsWithinOneExposure)
{
    Program program({.simulator = {"--occult", "1.53,0.74,2.31", "--pace", "buffers", "--gps-fix-after", "0"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    ASSERT_TRUE(program.waitForMoreFrames(100));
    ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    quit(program);

    const auto recording = program.folder() / "recording.adv", log = program.folder() / "frames.txt";
    ASSERT_THAT(differences(recording, parseFrameLog(program.frameLog())), IsEmpty());
    obriadv::AdvFile file;
    ASSERT_EQ(file.open(recording), "");
    const auto target = numbersAfter(log, "target 1624x1240");
    std::vector<obriadv::SLightPoint> points;
    std::vector<size_t> skipped;
    ASSERT_EQ(obriadv::measureLightCurve(file, {.x = target.at(0), .y = target.at(1)}, points, skipped), "");
    ASSERT_THAT(skipped, IsEmpty());

    const auto measured = eventsIn(points);
    const auto scheduled = scheduledEvents(log, static_cast<double>(points.front().midNs) / sNsPerS,
                                           static_cast<double>(points.back().midNs) / sNsPerS);
    ASSERT_GE(scheduled.size(), 4u);
    ASSERT_THAT(measured, SizeIs(scheduled.size()));
    EXPECT_EQ(points.front().exposureNs, sExposureMs * 1'000'000);
    double worst = 0;
    for (size_t i = 0; i < measured.size(); ++i) {
        EXPECT_EQ(measured[i].isDisappearance, scheduled[i].isDisappearance) << "event " << i;
        EXPECT_NEAR(measured[i].at, scheduled[i].at, sExposureMs / 1000.0) << "event " << i;
        worst = std::max(worst, std::abs(measured[i].at - scheduled[i].at));
    }
    printf("light curve: %zu events in %zu frames, exposure %d ms, largest error %.1f ms\n", measured.size(),
           points.size(), sExposureMs, worst * 1000);
}
