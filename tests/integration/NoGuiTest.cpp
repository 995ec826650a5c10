#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// Takes the lines that match the patterns, in their order; false when one is missing.
bool takeInOrder(std::vector<std::string>& lines, const std::vector<std::string>& patterns, std::string& missing)
{
    auto at = lines.begin();
    for (const std::string& pattern : patterns) {
        at = std::find_if(at, lines.end(),
                          [&](const std::string& line) { return std::regex_match(line, std::regex(pattern)); });
        missing = pattern;
        if (at == lines.end())
            return false;
        at = lines.erase(at);
    }
    return true;
}

const std::vector<std::string> sMainThreadLines = {
    "Running obri-camctl v0\\.3-alpha1",
    "Handling command line",
    "noGuiMode: 1",
    "observerName: Ada Sky",
    "telescopeName: ",
    "objectName: ",
    "Camera device found: OBRI\\+CAM .*, /dev/video0, uvcvideo, usb-.*, [0-9a-f]{4}/[0-9a-f]{4}, bus=\\d+, dev=\\d+",
    "Camera device open, fd=\\d+",
    "ix=1, t=00000001, flags=00000000, desc=YUYV 4:2:2, fmt=56595559",
    "- ix=0, w=1218, h=1240",
    "- ix=1, w=1218, h=128",
    "- ix=2, w=176, h=128",
    "- ix=3, w=612, h=620",
    "- ix=4, w=408, h=310",
    "setObriMode: en=1",
    "CLI mode",
    "CLI mode",
    "CLI mode",
    "CLI mode",
    "CLI mode",
};

const std::vector<std::string> sStreamingThreadLines = {
    "Streaming thread running\\.\\.\\.",
    "setResolution: w=1624, h=1240",
    "cameraDeviceSetFormat: fd=\\d+, w=1218, h=1240",
    "buffer 0: len=3020640, offset=00000000, position=0x[0-9a-f]+",
    "buffer 1: len=3020640, offset=002e2000, position=0x[0-9a-f]+",
    "buffer 2: len=3020640, offset=005c4000, position=0x[0-9a-f]+",
    "buffer 3: len=3020640, offset=008a6000, position=0x[0-9a-f]+",
    "buffer 4: len=3020640, offset=00b88000, position=0x[0-9a-f]+",
    "Camera device is streaming\\.\\.\\.",
};

} // namespace

// Fails when a line of the report is missing, misspelt, or in excess, the run hangs, or its log is not closed once.
TEST(NoGui, ReportsOnTheCameraAndEndsInFiveSeconds)
{
    const auto start = std::chrono::steady_clock::now();
    Program program({.arguments = {"--no-gui", "--observer-name=Ada Sky"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    const Seconds took = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_GE(took.count(), 5.0);

    auto lines = linesOf(program.standardOutput());
    std::string missing;
    EXPECT_TRUE(takeInOrder(lines, sMainThreadLines, missing)) << "missing: " << missing;
    EXPECT_TRUE(takeInOrder(lines, sStreamingThreadLines, missing)) << "missing: " << missing;
    // What remains is the library's list of formats that it could convert to, and the farewell.
    for (const std::string& line : lines)
        EXPECT_TRUE(std::regex_match(line, std::regex("(ix=[2-5], t=00000001, flags=00000002, .*|- ix=\\d+, .*|"
                                                      "setObriMode: en=0)")))
            << line;
    EXPECT_EQ(program.cameraCommands().front(), "70 01 00 00 00");
    EXPECT_EQ(program.cameraCommands().back(), "70 00 00 00 00");
    const std::string log = program.log();
    EXPECT_THAT(log, ContainsRegex("20[0-9-]+ [0-9:.]+  I ---------- Application started ----------\n"));
    EXPECT_EQ(countLines(log, "I ---------- Closing Log File ----------"), 1u);
}

// Fails when a machine without a camera, or with one that may not be opened, gets anything but a clear line and the
// required status, or when the log does not tell the two apart.
TEST(NoGui, WithoutCameraSaysSoAfterTheOptions)
{
    for (const std::string option : {"--no-camera", "--no-permission"}) {
        Program program({.simulator = {option}, .arguments = {"--no-gui"}, .withDisplay = false});
        ASSERT_TRUE(program.waitForEnd());
        EXPECT_EQ(program.exitStatus(), 255);
        EXPECT_THAT(program.standardError(), HasSubstr("No OBRI+CAM found, exiting...\n"));
        EXPECT_THAT(program.standardOutput(),
                    StartsWith("Running obri-camctl v0.3-alpha1\nHandling command line\nnoGuiMode: 1\nobserverName: \n"
                               "telescopeName: \nobjectName: \n"));
        EXPECT_EQ(countLines(program.log(), "permission") > 0, option == "--no-permission");
    }
}

// Fails when the metadata node, which claims capture too and comes first in this order, or the second camera is taken.
TEST(NoGui, TakesTheNodeThatCapturesOfTheFirstCamera)
{
    Program program({.simulator = {"--two-cameras", "--video-node", "9", "--metadata-node", "10"},
                     .arguments = {"--no-gui"},
                     .withDisplay = false});
    EXPECT_TRUE(waitFor([&] { return program.standardOutput().find("Camera device found: ") != std::string::npos; }));
    EXPECT_THAT(program.standardOutput(), HasSubstr(", /dev/video9, uvcvideo"));
}
