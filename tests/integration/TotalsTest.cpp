#include "Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

using testing::ContainsRegex;

// Fails when a recording leaves no totals in the log: one that another follows at once, one that ends with the program.
TEST(Totals, OfEveryRecordingAreInTheLog)
{
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv", Seconds(60)));
    ASSERT_TRUE(program.waitForFrames(3));
    program.activate("startRecordingAdv");
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + 3));
    program.activate("stopRecording");
    program.activate("startRecordingFits");
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + 3));
    program.signal(SIGTERM);
    ASSERT_TRUE(program.waitForEnd());
    const std::string totals = ", [0-9]+ frames? in [0-9]+\\.[0-9] s, 0 lost, [0-9]+ MB\n";
    EXPECT_THAT(program.log(), ContainsRegex("I Recording ended: recording\\.adv" + totals));
    EXPECT_THAT(program.log(), ContainsRegex("I Recording ended: fits/.*\\.fits" + totals));
}
