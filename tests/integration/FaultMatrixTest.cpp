#include "FaultTable.h"
#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <thread>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct SRun {
    SFault fault;
    SFrameSize size;
    bool isRecording;

    std::string what() const
    {
        return std::to_string(size.width) + " x " + std::to_string(size.height) +
               (isRecording ? ", recording" : ", streaming");
    }
};

/// Every fault that ends the program, and what would cost a recording most.
bool isForEveryDay(const SRun& run)
{
    const std::string name = run.fault.name;
    const bool isForRecordings =
        name == "Stream dies once" || name == "Dequeueing fails for good" || name == "Overlay with a wrong checksum";
    return run.fault.status != 0 || (isForRecordings && run.isRecording && run.size.row == sSmallSize.row);
}

std::vector<SRun> runs()
{
    std::vector<SRun> all;
    for (const SFault& fault : sStartFaults)
        all.push_back({fault, sFullSize, false});
    for (const SFault& fault : sStreamFaults) {
        all.push_back({fault, sFullSize, false});
        all.push_back({fault, sFullSize, true});
        // A camera that refuses to stop refuses another size too, and ends the program with the line for it.
        if (fault.options.front() != "--streamoff-error")
            all.push_back({fault, sSmallSize, true});
    }
    if (!isNightly())
        std::erase_if(all, [](const SRun& run) { return !isForEveryDay(run); });
    return all;
}

std::vector<std::string> optionsOf(const SRun& run, size_t at)
{
    std::vector<std::string> options = run.fault.options;
    for (std::string& option : options)
        if (const size_t place = option.find("AT"); place != std::string::npos)
            option.replace(place, 2, std::to_string(at));
    // Streams that die are counted, and on the way down the box the small size is the third one.
    if (run.size.row != sFullSize.row && options.front() == "--dead" && options.back().ends_with(",1"))
        options.back().back() = '3';
    return options;
}

/// What the run left, in words for the table.
std::string fileText(const SFault& fault, const SHeld& held)
{
    std::string text = "whole, " + std::to_string(held.frames) + " frames, none missing";
    if (fault.missing > 0)
        text += " but " + std::to_string(fault.missing) + " that came broken";
    if (held.lostByCamera > 0)
        text += "; " + std::to_string(held.lostByCamera) + " were never sent";
    return fault.remark ? text + "; " + fault.remark : text;
}

std::ostream& operator<<(std::ostream& stream, const SRun& run)
{
    std::string name = std::string(run.fault.name) + run.size.name + (run.isRecording ? "Recording" : "Alone");
    std::erase_if(name, [](unsigned char c) { return !isalnum(c); });
    return stream << name;
}

/// Leaves what the page of all runs is made of.
void writeRow(const SRun& run, const Program& program, const std::string& file)
{
    const char* folder = getenv("OBRI_FAULT_MATRIX");
    if (!folder)
        return;
    const std::string start = std::string(folder) + "/" + testing::PrintToString(run);
    std::ofstream(start + ".row") << "| " << run.fault.name << " | " << run.what() << " | SAID | "
                                  << program.exitStatus() << " | " << file << " |\n";
    std::ofstream(start + ".said") << program.standardError();
}

/// Streams, and records when asked to. False when a busy machine was not ready before the fault.
bool isReadyFor(const SRun& run, size_t at, Program& program)
{
    streamAt(program, run.size);
    setExposure(program, 40);
    if (run.isRecording)
        startRecording(program);
    return testing::Test::HasFatalFailure() || program.frameLog().size() + sFramesUntilProcessed < at;
}

/// Watches what comes of the fault, and ends the program.
void watch(const SRun& run, size_t at, Program& program)
{
    const SFault& fault = run.fault;
    const auto hasHappened = [&] {
        return (!fault.lines.empty() || program.frameLog().size() >= at + 15) &&
               std::all_of(fault.lines.begin(), fault.lines.end(), [&](const std::string& line) {
                   return program.standardError().find(line) != std::string::npos;
               });
    };
    ASSERT_TRUE(waitFor(hasHappened)) << "the fault did not come\n"
                                      << program.standardError() << program.frameLog().size();
    std::this_thread::sleep_for(Seconds(fault.seconds));
    ASSERT_FALSE(program.hasEnded()) << program.lastWords();
    EXPECT_EQ(program.isEnabled("stopRecording"), run.isRecording && !fault.endsRecording);
    if (program.isEnabled("stopRecording"))
        program.activate("stopRecording");
    program.activate("quit");
}

/// Gaps and odd times are the camera's; a file with a byte that is nothing, or without its index, is ours.
SHeld judgeRecording(const SFault& fault, const Program& program)
{
    const auto recording = program.folder() / "recording.adv";
    const auto camera = parseFrameLog(program.frameLog());
    const SHeld held = framesHeld(recording, camera);
    EXPECT_THAT(held.strangers, IsEmpty());
    EXPECT_EQ(held.missing, fault.missing);
    EXPECT_GE(held.frames, 10u);
    if (!fault.remark && fault.missing == 0) {
        EXPECT_THAT(differences(recording, camera), IsEmpty());
        EXPECT_EQ(lossToldBy(program), held.lostByCamera);
    }
    obriadv::AdvFile file;
    EXPECT_EQ(file.open(recording), "");
    EXPECT_THAT(file.damage(), IsEmpty());
    EXPECT_EQ(file.index().mainCount, file.frames().size());
    return held;
}

void judge(const SRun& run, const Program& program)
{
    EXPECT_EQ(program.exitStatus(), run.fault.status);
    const std::string errors = program.standardError();
    for (const std::string& line : run.fault.lines)
        EXPECT_THAT(errors, HasSubstr(line));
    const std::string name = run.fault.name;
    const bool isSaidOnce = name == "Stream dies once" || name == "Dequeueing fails for good";
    EXPECT_TRUE(!isSaidOnce || countLines(errors, "The stream has died") == 1) << errors;
    // A few lines a second, however long a busy machine takes; a flood has millions.
    EXPECT_LT(countLines(errors, ""), 500u) << errors.substr(0, 3000);
    EXPECT_EQ(countLines(program.log(), "permission") > 0, run.fault.options.front() == "--no-permission");
    writeRow(run, program, run.isRecording ? fileText(run.fault, judgeRecording(run.fault, program)) : "none");
}

class FaultMatrix : public testing::TestWithParam<SRun> {};

} // namespace

// Fails when a fault of the camera crashes or hangs the program, passes in silence where a line is due, floods the
// terminal, or costs a recording a frame that was sent.
TEST_P(FaultMatrix, IsSurvived)
{
    const SRun& run = GetParam();
    for (const size_t at : {120, 500}) {
        Program program({.simulator = optionsOf(run, at)});
        if (run.fault.status == 0) {
            if (!isReadyFor(run, at, program))
                continue;
            ASSERT_FALSE(HasFatalFailure());
            ASSERT_NO_FATAL_FAILURE(watch(run, at, program));
        }
        ASSERT_TRUE(program.waitForEnd()) << "hangs";
        return judge(run, program);
    }
    GTEST_SKIP() << "the machine is too slow: the fault came before the recording";
}

INSTANTIATE_TEST_SUITE_P(Camera, FaultMatrix, testing::ValuesIn(runs()), testing::PrintToStringParamName());
