#include "Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

size_t linesIn(const std::string& text)
{
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

TEST(CommandLine, WrongOptionIsOneClearLine)
{
    Program program({.arguments = {"--no-gui", "--observer=me", "--nonsense"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 1);
    EXPECT_EQ(linesIn(program.standardError()), 1u) << program.standardError();
    EXPECT_THAT(program.standardError(), HasSubstr("--observer"));
    EXPECT_TRUE(program.cameraCommands().empty());
}

TEST(CommandLine, MissingDisplayIsOneClearLine)
{
    Program program({.withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 1);
    EXPECT_EQ(linesIn(program.standardError()), 1u) << program.standardError();
    EXPECT_THAT(program.standardError(), HasSubstr("display"));
    EXPECT_TRUE(program.cameraCommands().empty());
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

    Program wrong({.arguments = {"--nonsense"}});
    ASSERT_TRUE(wrong.waitForEnd());
    EXPECT_EQ(wrong.exitStatus(), 1);

    Program second({.arguments = {"--object-name=other"}});
    ASSERT_TRUE(second.waitForEnd());
    EXPECT_EQ(second.exitStatus(), 0);
    EXPECT_TRUE(second.cameraCommands().empty());

    EXPECT_FALSE(running.hasEnded());
    EXPECT_THAT(running.standardOutput(), Not(HasSubstr("objectName: other")));
    ASSERT_TRUE(running.waitUntilEnabled("startRecordingAdv"));
    running.activate("quit");
    ASSERT_TRUE(running.waitForEnd());
    EXPECT_EQ(running.exitStatus(), 0);
    EXPECT_THAT(running.standardOutput(), HasSubstr("Quit requested\n"));
}
