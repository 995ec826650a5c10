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

enum class EMoment { Alone, Recording };

struct SRun {
    SFault fault;
    SFrameSize size;
    EMoment moment;

    std::string what() const
    {
        return std::to_string(size.width) + " x " + std::to_string(size.height) +
               (moment == EMoment::Recording ? ", recording" : ", streaming");
    }
};

/// Every fault that ends the program, and what would cost a recording most.
bool isForEveryDay(const SRun& run)
{
    const std::string name = run.fault.name;
    const bool isForRecordings =
        name == "Stream dies once" || name == "Dequeueing fails for good" || name == "Overlay with a wrong checksum";
    return run.fault.status != 0 ||
           (isForRecordings && run.moment == EMoment::Recording && run.size.row == sSmallSize.row);
}

std::vector<SRun> runs()
{
    std::vector<SRun> all;
    for (const SFault& fault : sStartFaults)
        all.push_back({fault, sFullSize, EMoment::Alone});
    for (const SFault& fault : sStreamFaults) {
        all.push_back({fault, sFullSize, EMoment::Alone});
        all.push_back({fault, sFullSize, EMoment::Recording});
        // A camera that refuses to stop refuses another size too, and ends the program with the line for it.
        if (fault.options.front() != "--streamoff-error")
            all.push_back({fault, sSmallSize, EMoment::Recording});
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

/// The program's own lines, each once with its number; the libraries' are left out.
std::string linesSaid(const Program& program)
{
    auto lines = linesOf(program.standardError());
    std::erase_if(lines, [](const std::string& line) {
        return line.empty() || line.starts_with("libv4l2") || line.starts_with("** (obri-camctl:");
    });
    std::string text;
    while (!lines.empty()) {
        const std::string line = lines.front();
        const size_t times = std::erase(lines, line);
        text += (text.empty() ? "" : "<br>") + line + (times > 1 ? " (" + std::to_string(times) + " times)" : "");
    }
    return text.empty() ? "nothing" : text;
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

void writeRow(const SRun& run, const Program& program, const std::string& file = "none")
{
    const char* folder = getenv("OBRI_FAULT_MATRIX");
    if (!folder)
        return;
    std::string name = std::string(run.fault.name) + "-" + run.what() + ".row";
    std::replace(name.begin(), name.end(), ' ', '_');
    std::ofstream(std::filesystem::path(folder) / name)
        << "| " << run.fault.name << " | " << run.what() << " | " << linesSaid(program) << " | " << program.exitStatus()
        << " | " << file << " |\n";
}

std::ostream& operator<<(std::ostream& stream, const SRun& run)
{
    std::string name =
        std::string(run.fault.name) + run.size.name + (run.moment == EMoment::Recording ? "Recording" : "Alone");
    std::erase_if(name, [](unsigned char c) { return !isalnum(c); });
    return stream << name;
}

class FaultMatrix : public testing::TestWithParam<SRun> {
protected:
    void runToItsEnd()
    {
        Program program({.simulator = GetParam().fault.options});
        ASSERT_TRUE(program.waitForEnd()) << "hangs";
        expectSaid(program);
        writeRow(GetParam(), program);
    }

    /// Streams, and records when asked to. False when a busy machine was not ready before the fault.
    bool isReadyFor(size_t at, Program& program)
    {
        streamAt(program, GetParam().size);
        setExposure(program, 40);
        if (GetParam().moment == EMoment::Recording)
            startRecording(program);
        return HasFatalFailure() || program.frameLog().size() + sFramesUntilProcessed < at;
    }

    /// Watches what comes of the fault.
    void runThroughFault(size_t at, Program& program)
    {
        const SFault& fault = GetParam().fault;
        ASSERT_TRUE(waitFor([&] { return hasHappened(at, program); }))
            << "the fault did not come\n"
            << program.standardError() << program.frameLog().size();
        std::this_thread::sleep_for(Seconds(fault.seconds));
        ASSERT_FALSE(program.hasEnded()) << "status " << program.exitStatus() << "\n" << program.standardError();
        if (GetParam().moment == EMoment::Recording) {
            EXPECT_EQ(!program.isEnabled("stopRecording"), fault.endsRecording);
        }
        if (program.isEnabled("stopRecording"))
            program.activate("stopRecording");
        program.activate("quit");
        ASSERT_TRUE(program.waitForEnd()) << "hangs";
        expectSaid(program);
        if (GetParam().moment == EMoment::Recording)
            judgeRecording(program);
        else
            writeRow(GetParam(), program);
    }

    static bool hasHappened(size_t at, const Program& program)
    {
        const SFault& fault = GetParam().fault;
        const std::string errors = program.standardError();
        if (fault.lines.empty() && program.frameLog().size() < at + 15)
            return false;
        return std::all_of(fault.lines.begin(), fault.lines.end(),
                           [&](const std::string& line) { return errors.find(line) != std::string::npos; });
    }

    static void expectSaid(const Program& program)
    {
        EXPECT_EQ(program.exitStatus(), GetParam().fault.status);
        const std::string errors = program.standardError();
        for (const std::string& line : GetParam().fault.lines)
            EXPECT_THAT(errors, HasSubstr(line));
        // A few lines a second, however long a busy machine takes; a flood has millions.
        EXPECT_LT(countLines(errors, ""), 500u) << errors.substr(0, 3000);
    }

    void judgeRecording(const Program& program)
    {
        const SFault& fault = GetParam().fault;
        const auto recording = program.folder() / "recording.adv";
        const auto camera = parseFrameLog(program.frameLog());
        const SHeld held = framesHeld(recording, camera);
        EXPECT_THAT(held.strangers, IsEmpty());
        EXPECT_EQ(held.missing, fault.missing);
        EXPECT_GE(held.frames, 10u);
        if (!fault.remark && fault.missing == 0) {
            EXPECT_THAT(differences(recording, camera), IsEmpty());
        }
        // Gaps and odd times are the camera's; a file with a byte that is nothing, or without its index, is ours.
        obriadv::AdvFile file;
        ASSERT_EQ(file.open(recording), "");
        EXPECT_THAT(file.damage(), IsEmpty());
        EXPECT_EQ(file.index().mainCount, file.frames().size());
        writeRow(GetParam(), program, fileText(fault, held));
    }
};

} // namespace

// Fails when a fault of the camera crashes or hangs the program, passes in silence where a line is due, floods the
// terminal, or costs a recording a frame that was sent.
TEST_P(FaultMatrix, IsSurvived)
{
    const SFault& fault = GetParam().fault;
    if (fault.status != 0)
        return runToItsEnd();
    for (const size_t at : {120, 500}) {
        Program program({.simulator = optionsOf(GetParam(), at)});
        if (!isReadyFor(at, program))
            continue;
        ASSERT_FALSE(HasFatalFailure());
        return runThroughFault(at, program);
    }
    GTEST_SKIP() << "the machine is too slow: the fault came before the recording";
}

INSTANTIATE_TEST_SUITE_P(Camera, FaultMatrix, testing::ValuesIn(runs()), testing::PrintToStringParamName());
