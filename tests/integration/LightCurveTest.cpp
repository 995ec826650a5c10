#include "LightCurve.h"
#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

using testing::IsEmpty;

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
    const auto [dark, bright] =
        std::minmax_element(points.begin(), points.end(), [](const auto& a, const auto& b) { return a.flux < b.flux; });
    const double middle = (dark->flux + bright->flux) / 2;
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

/// What is said about the frame log as a whole: the numbers behind "# NAME".
std::vector<double> numbersAfter(const std::string& log, const std::string& name)
{
    const std::string start = "# " + name + " ";
    std::istringstream words(log.substr(log.find(start) + start.size()));
    std::vector<double> numbers;
    for (double number; words >> number;)
        numbers.push_back(number);
    return numbers;
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

    obriadv::AdvFile file;
    ASSERT_EQ(file.open(program.folder() / "recording.adv"), "");
    const std::string log = contentsOf(program.folder() / "frames.txt");
    const auto target = numbersAfter(log, "target 1624x1240");
    std::vector<obriadv::SLightPoint> points;
    std::vector<size_t> skipped;
    ASSERT_EQ(obriadv::measureLightCurve(file, {.x = target.at(0), .y = target.at(1)}, points, skipped), "");
    ASSERT_THAT(skipped, IsEmpty());

    const auto scheduled = numbersAfter(log, "occultation"); // the first start and end, since 1970, and the period
    const double period = scheduled.at(2) / sNsPerS;
    const auto events = eventsIn(points);
    const double seconds = static_cast<double>(points.back().midNs - points.front().midNs) / sNsPerS;
    EXPECT_GE(static_cast<double>(events.size()), std::max(4.0, 2 * std::floor(seconds / period)));
    EXPECT_EQ(points.front().exposureNs, sExposureMs * 1'000'000);
    double worst = 0;
    for (size_t i = 0; i < events.size(); ++i) {
        const double passed =
            events[i].at - scheduled[events[i].isDisappearance ? 0 : 1] / sNsPerS + sUnixSecondsOf2010;
        const double error = passed - std::round(passed / period) * period;
        EXPECT_NEAR(error, 0, sExposureMs / 1000.0) << "event " << i;
        EXPECT_TRUE(i == 0 || events[i].at - events[i - 1].at < period)
            << "an event before number " << i << " is missing";
        worst = std::max(worst, std::abs(error));
    }
    printf("light curve: %zu events in %zu frames, exposure %d ms, largest error %.1f ms\n", events.size(),
           points.size(), sExposureMs, worst * 1000);
}
