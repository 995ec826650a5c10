#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

// Fails when the window's defaults do not reach the camera, come in another order, or come after the stream's size, or
// when what is set at the keyboard goes elsewhere.
TEST(Settings, ReachTheCameraInOrderAndControlRStartsTheStream)
{
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("stopStreaming"));
    std::vector<std::string> expected{"70 01 00 00 00", "69 00 64 00 00", "6e 18 00 00 00", "71 01 00 00 00",
                                      "68 00 64 00 00"};
    EXPECT_THAT(program.cameraCommands(), ElementsAreArray(expected));
    program.key("alt+i");
    program.selectRow("alt+o", 1); // sets every row on the way
    program.selectRow("alt+l", 1);
    expected.insert(expected.end(), {"6a 01 00 00 00", "00 00 00 00 00", "01 01 00 00 00", "00 01 00 00 00",
                                     "01 01 00 00 00", "6d 00 00 00 00", "6d 01 00 00 00"});
    waitFor([&] { return program.cameraCommands().size() >= expected.size(); });
    EXPECT_THAT(program.cameraCommands(), ElementsAreArray(expected));
    program.activate("stopStreaming");
    ASSERT_TRUE(program.waitUntilEnabled("startStreaming"));
    program.key("ctrl+r");
    ASSERT_TRUE(program.waitUntilEnabled("stopStreaming"));
    EXPECT_TRUE(program.waitForMoreFrames(sFramesUntilProcessed));
    quit(program);
    auto told = linesOf(program.standardOutput());
    std::erase_if(told, [](const std::string& line) {
        return !line.starts_with("set") && !line.starts_with("onCmb") && line != "MainWindow constructor complete";
    });
    EXPECT_THAT(told, ElementsAre("setObriMode: en=1", "setResolution: w=816, h=620", "setExposureTime: ms=100",
                                  "setGain: dB=24", "setHighGain: active=1", "setBlackLevel: blackLevel=100",
                                  "MainWindow constructor complete", "setResolution: w=1624, h=1240",
                                  "setInvertMode: active=1", "setOverlayMode: m=0", "setOverlayMode: m=1",
                                  "setFlipMode: m=0", "setFlipMode: m=1", "setObriMode: en=0"));
}
