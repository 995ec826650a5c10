#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAreArray;

// Fails when the window's defaults do not reach the camera or come in another order, or when what is set at the
// keyboard goes elsewhere.
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
}
