#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

/// Takes the lines that match the patterns away, which must be there in this order.
void takeInOrder(std::vector<std::string>& lines, const std::vector<std::string>& patterns)
{
    auto at = lines.begin();
    for (const std::string& pattern : patterns) {
        at = std::find_if(at, lines.end(),
                          [&](const std::string& line) { return std::regex_match(line, std::regex(pattern)); });
        ASSERT_NE(at, lines.end()) << "missing: " << pattern;
        at = lines.erase(at);
    }
}

const std::vector<std::string> sMainThreadLines = {
    "Running obri-camctl v0\\.3-alpha1",
    "Handling command line",
    "noGuiMode: 1",
    "observerName: Ada Sky",
    "telescopeName: ",
    "objectName: ",
    "Camera device found: OBRI\\+CAM .*, /dev/video9, uvcvideo, usb-.*, [0-9a-f]{4}/[0-9a-f]{4}, bus=\\d+, dev=\\d+",
    "Camera device open, fd=\\d+",
    "ix=1, t=00000001, flags=00000000, desc=YUYV 4:2:2, fmt=56595559",
    "- ix=0, w=1218, h=1240",
    "- ix=1, w=1218, h=128",
    "- ix=2, w=176, h=128",
    "- ix=3, w=612, h=620",
    "- ix=4, w=408, h=310",
    "setObriMode: en=1",
};

const std::vector<std::string> sStreamingThreadLines = {
    "Streaming thread running\\.\\.\\.",
    "setResolution: w=1624, h=1240",
    "cameraDeviceSetFormat: fd=\\d+, w=1218, h=1240",
    "buffer 0: len=3020640, offset=00000000, position=0x[0-9a-f]+",
    "buffer 4: len=3020640, offset=00b88000, position=0x[0-9a-f]+",
    "Camera device is streaming\\.\\.\\.",
};

} // namespace

// Fails when a line of the report is missing, misspelt, or in excess, the run hangs, its log is not closed once, or
// when the metadata node, which claims capture too and comes first in this order, or the second camera is taken.
TEST(NoGui, ReportsOnTheCameraAndEndsInFiveSeconds)
{
    const auto start = std::chrono::steady_clock::now();
    Program program({.simulator = {"--two-cameras", "--video-node", "9", "--metadata-node", "10"},
                     .arguments = {"--no-gui", "--observer-name=Ada Sky"},
                     .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    const Seconds took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_GE(took.count(), 5.0);

    auto lines = linesOf(program.standardOutput());
    EXPECT_EQ(std::erase(lines, "CLI mode"), 5u);
    takeInOrder(lines, sMainThreadLines);
    takeInOrder(lines, sStreamingThreadLines);
    // What remains is the other buffers, the library's list of formats that it could convert to, and the farewell.
    EXPECT_THAT(lines, Each(MatchesRegex("buffer [123]: .*|ix=[2-5], t=00000001, flags=00000002, .*|"
                                         "- ix=[0-9]+, .*|setObriMode: en=0")));
    EXPECT_THAT(program.cameraCommands(), ElementsAre("70 01 00 00 00", "70 00 00 00 00"));
    const std::string log = program.log();
    EXPECT_THAT(log, ContainsRegex("20[0-9-]+ [0-9:.]+  I ---------- Application started ----------\n"));
    EXPECT_EQ(countLines(log, "I ---------- Closing Log File ----------"), 1u);
}
