#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

/// Expects one clear line and nothing asked of the camera.
void expectRefused(Program& program, const std::string& reason)
{
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 1);
    EXPECT_EQ(countLines(program.standardError(), ""), 1u) << program.standardError();
    EXPECT_THAT(program.standardError(), HasSubstr(reason));
    EXPECT_TRUE(program.cameraCommands().empty());
}

} // namespace

TEST(CommandLine, WrongOptionOrMissingDisplayIsOneClearLine)
{
    Program wrong({.arguments = {"--no-gui", "--observer=me", "--nonsense"}, .withDisplay = false});
    expectRefused(wrong, "--observer");
    Program blind({.withDisplay = false});
    expectRefused(blind, "display");
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
