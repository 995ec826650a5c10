#include "Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

using testing::HasSubstr;

namespace {

// A fault that makes the camera unusable: the program says what failed and why, and ends with status 255.
struct SFatalFault {
    std::string name;
    std::vector<std::string> simulator;
    std::string message;
};

std::ostream& operator<<(std::ostream& stream, const SFatalFault& fault)
{
    return stream << fault.name;
}

class FatalFault : public testing::TestWithParam<SFatalFault> {};

std::string numberOf(int error)
{
    return std::to_string(error);
}

std::string because(const std::string& message, int error)
{
    return message + " (" + strerror(error) + ")";
}

} // namespace

TEST_P(FatalFault, IsSaidAndEndsTheProcess)
{
    Program program({.simulator = GetParam().simulator, .arguments = {"--no-gui"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 255);
    EXPECT_THAT(program.standardError(), HasSubstr(GetParam().message + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Camera, FatalFault,
    testing::Values(
        SFatalFault{"NoPermission", {"--no-permission"}, "No OBRI+CAM found, exiting..."},
        SFatalFault{"OtherName", {"--name", "OBRI+CAM"}, "No OBRI+CAM found, exiting..."},
        SFatalFault{"ExtensionUnit",
                    {"--xu-error", numberOf(EPIPE)},
                    because("Failed to access extension unit, exiting...", EPIPE)},
        SFatalFault{
            "RefusedFormat", {"--format-error", numberOf(EIO)}, because("Format change failed, exiting...", EIO)},
        SFatalFault{
            "TooFewBuffers", {"--grant-buffers", "4"}, because("Request buffer querying failed, exiting...", EINVAL)},
        SFatalFault{
            "Mapping", {"--map-error", numberOf(ENOMEM)}, because("Request buffer mapping failed, exiting...", ENOMEM)},
        SFatalFault{
            "Queueing", {"--qbuf-error", numberOf(EIO)}, because("Request buffer enqueueing failed, exiting...", EIO)},
        SFatalFault{"StreamOn",
                    {"--streamon-error", numberOf(ENOSPC)},
                    because("Failed to start streaming, exiting...", ENOSPC)}),
    [](const auto& test) { return test.param.name; });

TEST(PermissionFault, IsNamedInTheLog)
{
    Program program({.simulator = {"--no-permission"}, .arguments = {"--no-gui"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_THAT(program.log(), HasSubstr("W "));
    EXPECT_THAT(program.log(), HasSubstr("permission"));
}

// The metadata node claims capture too, and is listed first when the capture node is video9 and it is video10.
TEST(Discovery, TakesTheNodeThatCaptures)
{
    Program program(
        {.simulator = {"--video-node", "9", "--metadata-node", "10"}, .arguments = {"--no-gui"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_THAT(program.standardOutput(), HasSubstr(", /dev/video9, uvcvideo"));
}

TEST(Discovery, TakesTheFirstOfTwoCameras)
{
    Program program({.simulator = {"--two-cameras"}, .arguments = {"--no-gui"}, .withDisplay = false});
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_THAT(program.standardOutput(), HasSubstr(", /dev/video0, uvcvideo"));
}
