#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Fails when what cannot run gets anything but one clear line, or asks anything of the camera.
TEST(CommandLine, WrongOptionOrMissingDisplayIsOneClearLine)
{
    const std::pair<std::vector<std::string>, const char*> refusals[] = {
        {{"--no-gui", "--observer=me", "--nonsense"}, "--observer"}, {{}, "display"}};
    for (const auto& [arguments, reason] : refusals) {
        Program program({.arguments = arguments, .withDisplay = false});
        ASSERT_TRUE(program.waitForEnd());
        EXPECT_EQ(program.exitStatus(), 1);
        EXPECT_EQ(countLines(program.standardError(), ""), 1u);
        EXPECT_THAT(program.standardError(), HasSubstr(reason));
        EXPECT_THAT(program.cameraCommands(), IsEmpty());
    }
}

// Fails when a second terminal can disturb the program that waits for the event.
TEST(CommandLine, SecondStartLeavesTheRunningProgramAlone)
{
    Program running({.arguments = {"--object-name=(52) Europa"}});
    ASSERT_TRUE(running.waitForWindow());

    Program help({.arguments = {"--help"}});
    ASSERT_TRUE(help.waitForEnd());
    EXPECT_EQ(help.exitStatus(), 0);
    EXPECT_THAT(help.standardOutput(), HasSubstr("--help-options"));

    Program second({.arguments = {"--object-name=other"}});
    ASSERT_TRUE(second.waitForEnd());
    EXPECT_EQ(second.exitStatus(), 0);
    EXPECT_TRUE(second.cameraCommands().empty());

    EXPECT_FALSE(running.hasEnded());
    EXPECT_THAT(running.standardOutput(), Not(HasSubstr("objectName: other")));
    ASSERT_TRUE(running.waitUntilEnabled("startRecordingAdv"));
    quit(running);
    EXPECT_THAT(running.standardOutput(), HasSubstr("Quit requested\n"));
}
