#include "AdvRewrite.h"
#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr size_t sFramesBeforeTheEnd = 12;

// How a run ends that was recording, and what the shell sees.
struct SEnding {
    std::string name;
    std::function<void(Program&)> end;
    int status;
    std::string said = {};
};

std::ostream& operator<<(std::ostream& stream, const SEnding& ending)
{
    return stream << ending.name;
}

void sendCommandsUntilOneIsRefused(Program& program)
{
    try {
        for (int press = 0; press < 60 && !program.hasEnded(); ++press)
            program.key("alt+h"); // high gain on and off, each a command
    } catch (const std::runtime_error&) {
        // The program is on its way out, and its window gone.
    }
}

/// Expects every frame that was recorded, and at least some, in a file that is complete.
void expectWholeRecording(const Program& program)
{
    const auto recording = program.folder() / "recording.adv";
    EXPECT_THAT(differences(recording, parseFrameLog(program.frameLog())), IsEmpty());
    EXPECT_GE(framesIn(recording), sFramesBeforeTheEnd - sFramesUntilProcessed);
}

void endWhileRecording(const Program::SOptions& options, const SEnding& ending)
{
    Program program(options);
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    ASSERT_TRUE(program.waitForMoreFrames(sFramesBeforeTheEnd));
    ending.end(program);
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), ending.status);
    EXPECT_THAT(program.standardError(), HasSubstr(ending.said));
    expectWholeRecording(program);
    if (ending.status == 255)
        return;
    EXPECT_EQ(program.cameraCommands().back(), "70 00 00 00 00");
    EXPECT_THAT(program.log(), HasSubstr("I ---------- Closing Log File ----------\n"));
}

// The menu's way is the accelerator's.
const SEnding sEndings[] = {
    {"Accelerator", [](Program& p) { p.key("ctrl+q"); }, 0},
    {"WindowClosed", [](Program& p) { p.closeWindow(); }, 0},
    {"Interrupt", [](Program& p) { p.signal(SIGINT); }, 128 + SIGINT},
    {"Terminate", [](Program& p) { p.signal(SIGTERM); }, 128 + SIGTERM},
    {"HangUp", [](Program& p) { p.signal(SIGHUP); }, 128 + SIGHUP},
    {"FatalError", sendCommandsUntilOneIsRefused, 255, "Failed to access extension unit, exiting... (Broken pipe)\n"}};

class EndingWhileRecording : public testing::TestWithParam<SEnding> {};

} // namespace

// Fails when a way out, also by a fatal error, leaves a recording without its index, or loses a frame that had been
// recorded.
TEST_P(EndingWhileRecording, FinalisesTheRecording)
{
    std::vector<std::string> simulator{"--pace", "buffers"};
    if (GetParam().status == 255)
        simulator = {"--xu-error", std::to_string(EPIPE) + ",40"};
    endWhileRecording({.simulator = simulator}, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Way, EndingWhileRecording, testing::ValuesIn(sEndings), testing::PrintToStringParamName());

// Fails when an X server that goes away takes the recording with it.
TEST(EndingWhileRecording, LostDisplayFinalisesTheRecordingToo)
{
    auto display = std::make_unique<Server>(sXServer);
    endWhileRecording({.simulator = {"--pace", "buffers"}, .environment = {{"DISPLAY", ":" + display->address()}}},
                      {"", [&](Program&) { display.reset(); }, 1, "The display was lost: the program ends\n"});
}

// Fails when what a program that was killed outright leaves cannot be repaired, or lacks a frame that the file had.
TEST(EndingWhileRecording, KilledOutrightItLeavesWhatRepairCompletes)
{
    Program program({.simulator = {"--pace", "buffers"}});
    const auto killed = program.folder() / "recording.adv", repaired = program.folder() / "repaired.adv";
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    constexpr size_t sFrames = 8, sFrameBytes = 2 * 1624 * 1240;
    ASSERT_TRUE(waitFor([&] { return file_size(killed) > (sFrames + 1) * sFrameBytes; }));
    program.signal(SIGKILL);
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 128 + SIGKILL);
    EXPECT_EQ(obriadv::repairRecording(killed, repaired).error, "");
    EXPECT_THAT(differences(repaired, parseFrameLog(program.frameLog())), IsEmpty());
    EXPECT_GE(framesIn(repaired), sFrames);
}

// Fails when pulling the cable crashes the program, passes in silence, floods the terminal or spoils the recording.
TEST(EndingWhileRecording, PulledCableClosesTheRecordingAndLeavesTheProgramCalm)
{
    Program program({.simulator = {"--unplug-after", "100", "--pace", "buffers"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(waitFor([&] { return endedRecordings(program) == 1; }));
    std::this_thread::sleep_for(std::chrono::seconds(3)); // time for a flood
    const std::string errors = program.standardError();
    const Seconds passed = std::chrono::steady_clock::now() - begin;
    // Two lines for each buffer that was out, then two a second.
    EXPECT_LT(static_cast<double>(countLines(errors, "")), 20 + 2 * passed.count()) << errors.substr(0, 2000);
    expectWholeRecording(program);
    for (const char* line : {"Failed to dequeue frame buffer... (No such device)\n",
                             "Failed to enqueue frame buffer... (No such device)\n",
                             "The camera was unplugged: the recording ends here\n"})
        EXPECT_THAT(errors, HasSubstr(line));
    quit(program);
}
