#include "Program.h"
#include "RecordingCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr size_t sFramesBeforeTheEnd = 12;

// How a run ends that was recording, and what the shell sees.
struct SEnding {
    std::string name;
    std::function<void(Program&)> end;
    int status;
};

std::ostream& operator<<(std::ostream& stream, const SEnding& ending)
{
    return stream << ending.name;
}

void startRecording(Program& program)
{
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv", Seconds(60)));
    ASSERT_TRUE(program.waitForFrames(3));
    program.activate("startRecordingAdv");
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording"));
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + sFramesBeforeTheEnd));
}

size_t framesIn(const std::filesystem::path& recording)
{
    obriadv::AdvFile file;
    return file.open(recording).empty() ? file.frames().size() : 0;
}

class EndingWhileRecording : public testing::TestWithParam<SEnding> {};

} // namespace

// Fails when a way out leaves a recording without its index, or loses a frame that had been recorded.
TEST_P(EndingWhileRecording, FinalisesTheRecording)
{
    Program program({.simulator = {"--pace", "buffers"}});
    startRecording(program);
    GetParam().end(program);
    ASSERT_TRUE(program.waitForEnd(Seconds(30)));
    EXPECT_EQ(program.exitStatus(), GetParam().status);
    const auto camera = parseFrameLog(program.frameLog());
    EXPECT_THAT(differences(program.folder() / "recording.adv", camera), IsEmpty());
    EXPECT_GE(framesIn(program.folder() / "recording.adv"), sFramesBeforeTheEnd - 5);
    EXPECT_EQ(program.cameraCommands().back(), "70 00 00 00 00");
    EXPECT_THAT(program.log(), HasSubstr("I ---------- Closing Log File ----------\n"));
}

INSTANTIATE_TEST_SUITE_P(Way, EndingWhileRecording,
                         testing::Values(SEnding{"QuitAction", [](Program& p) { p.activate("quit"); }, 0},
                                         SEnding{"Accelerator", [](Program& p) { p.key("ctrl+q"); }, 0},
                                         SEnding{"WindowClosed", [](Program& p) { p.closeWindow(); }, 0},
                                         SEnding{"Interrupt", [](Program& p) { p.signal(SIGINT); }, 128 + SIGINT},
                                         SEnding{"Terminate", [](Program& p) { p.signal(SIGTERM); }, 128 + SIGTERM},
                                         SEnding{"HangUp", [](Program& p) { p.signal(SIGHUP); }, 128 + SIGHUP}),
                         [](const auto& test) { return test.param.name; });

// Fails when a fatal error in mid-recording, here a refused command, takes the recording with it.
TEST(EndingWhileRecording, FatalErrorFinalisesTheRecordingToo)
{
    Program program({.simulator = {"--xu-error", std::to_string(EPIPE) + ",40"}});
    startRecording(program);
    for (int press = 0; press < 60 && !program.hasEnded(); ++press)
        program.tryKey("alt+h"); // high gain on and off, each a command
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 255);
    EXPECT_THAT(program.standardError(),
                HasSubstr(std::string("Failed to access extension unit, exiting... (") + strerror(EPIPE) + ")\n"));
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
}

// Fails when an X server that goes away takes the recording with it.
TEST(EndingWhileRecording, LostDisplayFinalisesTheRecordingToo)
{
    auto display = std::make_unique<Desktop>();
    Program program({.simulator = {"--pace", "buffers"}, .environment = {{"DISPLAY", display->display()}}});
    startRecording(program);
    display.reset();
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 1);
    EXPECT_THAT(program.standardError(), HasSubstr("The display was lost: the program ends\n"));
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
    EXPECT_GE(framesIn(program.folder() / "recording.adv"), sFramesBeforeTheEnd - 5);
    EXPECT_EQ(program.cameraCommands().back(), "70 00 00 00 00");
}

// Fails when pulling the cable crashes the program, floods the terminal or spoils the recording.
TEST(EndingWhileRecording, PulledCableClosesTheRecordingAndLeavesTheProgramCalm)
{
    Program program({.simulator = {"--unplug-after", "80", "--pace", "buffers"}});
    startRecording(program);
    ASSERT_TRUE(waitFor([&] { return !program.isEnabled("stopRecording"); }));
    std::this_thread::sleep_for(std::chrono::seconds(3));
    EXPECT_FALSE(program.hasEnded());
    const std::string errors = program.standardError();
    EXPECT_LT(std::count(errors.begin(), errors.end(), '\n'), 25) << errors.substr(0, 2000);
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
    EXPECT_GE(framesIn(program.folder() / "recording.adv"), 10u);
    program.activate("quit");
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 0);
}
