#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// How long a run goes on behind its fault: the longest verdict on a dead stream takes eight seconds.
constexpr double sBriefly = 2, sUntilVerdict = 10;

/// What is promised of a run.
struct SFault {
    const char* name;
    std::vector<std::string> options; ///< "AT" stands for the frame at which it happens
    double seconds;                   ///< to watch what comes of it
    const char* line;                 ///< on the terminal; empty: nothing
    int status;                       ///< 255: the program ends by itself
    size_t missing = 0;               ///< frames put into a buffer that are no frames to record
    bool endsRecording = false;       ///< by itself
    const char* remark = nullptr;     ///< set where numbers and times of frames are not the camera's: what they are
};

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

const std::vector<SFault>& streamFaults()
{
    constexpr const char* sOldTimes = "3 carry the number and times of the one before";
    constexpr const char* sNoTimes = "5 carry times of 1970";
    static const std::string sIo = std::to_string(EIO);
    static const std::vector<SFault> sFaults = {
        {"Stall of 30 frames", {"--stall", "AT,30"}, sUntilVerdict / 2, "", 0},
        {"Stall for good", {"--stall", "AT"}, sUntilVerdict, "The stream has died: it is stopped and started again", 0},
        {"Stream dies once",
         {"--dead", "AT,1"},
         sUntilVerdict,
         "The stream has died: it is stopped and started again",
         0},
        {"Stream dies again and again",
         {"--dead", "AT"},
         sUntilVerdict,
         "The stream has died: it is stopped and started again",
         0},
        {"Cable pulled", {"--unplug-after", "AT"}, sUntilVerdict / 2, "The camera was unplugged", 0, 0, true},
        {"Cable pulled and plugged in again",
         {"--unplug-after", "AT", "--replug", "2"},
         sUntilVerdict / 2,
         "The camera was unplugged",
         0,
         0,
         true},
        {"Three frames lost on the way", {"--lose-frames", "AT,3"}, sBriefly, "", 0},
        {"Half a frame", {"--short-frame", "AT,1"}, sBriefly, "A short frame counts as lost", 0, 1},
        {"Overlay without preamble", {"--bad-preamble", "AT,3"}, sBriefly, "", 0, 0, false, sOldTimes},
        {"Overlay with a wrong checksum", {"--bad-checksum", "AT,3"}, sBriefly, "", 0, 0, false, sOldTimes},
        {"Time stamps of 2009", {"--year", "2009,AT,5"}, sBriefly, "", 0, 0, false, sNoTimes},
        {"Time stamps of 2059", {"--year", "2059,AT,5"}, sBriefly, "", 0, 0, false, sNoTimes},
        {"Two dequeues fail", {"--dqbuf-error", sIo + ",AT,2"}, sUntilVerdict / 2, "", 0},
        {"Seven dequeues fail",
         {"--dqbuf-error", sIo + ",AT,7"},
         sUntilVerdict / 2,
         "Failed to dequeue frame buffer...",
         0},
        {"Dequeueing fails for good",
         {"--dqbuf-error", sIo + ",AT"},
         sUntilVerdict,
         "The stream has died: it is stopped and started again",
         0},
        {"One requeue fails", {"--qbuf-error", sIo + ",AT,1"}, sBriefly, "", 0},
        {"Five requeues fail", {"--qbuf-error", sIo + ",AT,5"}, sBriefly, "Failed to enqueue frame buffer...", 0},
        {"Stream does not stop",
         {"--streamoff-error", sIo + ",1", "--stall", "AT"},
         sUntilVerdict,
         "The stream has died: it is stopped and started again",
         0},
    };
    return sFaults;
}

const std::vector<SFault>& startFaults()
{
    const auto number = [](int error) { return std::to_string(error); };
    static const std::vector<SFault> sFaults = {
        {"No camera", {"--no-camera"}, 0, "No OBRI+CAM found, exiting...", 255},
        {"No permission", {"--no-permission"}, 0, "No OBRI+CAM found, exiting...", 255},
        {"Another card name", {"--name", "Webcam"}, 0, "No OBRI+CAM found, exiting...", 255},
        {"Two cameras", {"--two-cameras"}, sBriefly, "", 0},
        {"Metadata node first", {"--video-node", "9", "--metadata-node", "10"}, sBriefly, "", 0},
        {"Extension unit fails", {"--xu-error", number(EPIPE)}, 0, "Failed to access extension unit, exiting...", 255},
        {"Format refused", {"--format-error", number(EIO)}, 0, "Format change failed, exiting...", 255},
        {"Four buffers granted", {"--grant-buffers", "4"}, 0, "Request buffer querying failed, exiting...", 255},
        {"Mapping fails", {"--map-error", number(ENOMEM)}, 0, "Request buffer mapping failed, exiting...", 255},
        {"Queueing fails", {"--qbuf-error", number(EIO)}, 0, "Request buffer enqueueing failed, exiting...", 255},
        {"Stream does not start",
         {"--streamon-error", number(ENOSPC)},
         0,
         "Failed to start streaming, exiting...",
         255},
    };
    return sFaults;
}

std::vector<SRun> runs()
{
    std::vector<SRun> all;
    for (const SFault& fault : startFaults())
        all.push_back({fault, sFullSize, EMoment::Alone});
    for (const SFault& fault : streamFaults()) {
        all.push_back({fault, sFullSize, EMoment::Alone});
        all.push_back({fault, sFullSize, EMoment::Recording});
        // A camera that refuses to stop refuses another size too, and ends the program with the line for it.
        if (fault.options.front() != "--streamoff-error")
            all.push_back({fault, sSmallSize, EMoment::Recording});
    }
    if (isNightly())
        return all;
    // What would cost a recording most, and nothing that other tests run as well.
    std::vector<SRun> few;
    for (const SRun& run : all)
        for (const char* name : {"Stream dies once", "Overlay with a wrong checksum"})
            if (run.fault.name == std::string(name) && run.moment == EMoment::Recording &&
                run.size.row == sSmallSize.row)
                few.push_back(run);
    return few;
}

std::vector<std::string> optionsOf(const SRun& run)
{
    // Late enough for the recording to have begun, also on a busy machine.
    const std::string at = run.size.row == sFullSize.row ? "110" : "160";
    std::vector<std::string> options = run.fault.options;
    for (std::string& option : options)
        if (const size_t place = option.find("AT"); place != std::string::npos)
            option.replace(place, 2, at);
    // Streams that die are counted, and on the way down the box the small size is the third one.
    if (run.size.row != sFullSize.row && options.front() == "--dead" && options.back().ends_with(",1"))
        options.back().back() = '3';
    return options;
}

/// The program's own lines, each once with its number; the library's are left out.
std::string linesSaid(const Program& program)
{
    std::istringstream lines(program.standardError());
    std::vector<std::pair<std::string, int>> said;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with("libv4l2"))
            continue;
        const auto same = std::find_if(said.begin(), said.end(), [&](const auto& each) { return each.first == line; });
        if (same != said.end())
            ++same->second;
        else
            said.emplace_back(line, 1);
    }
    std::string text;
    for (const auto& [line, times] : said)
        text += (text.empty() ? "" : "<br>") + line + (times > 1 ? " (" + std::to_string(times) + " times)" : "");
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

void writeRow(const SRun& run, const std::string& seen, const std::string& status, const std::string& file)
{
    const char* folder = getenv("OBRI_FAULT_MATRIX");
    if (!folder || !*folder)
        return;
    std::string name = std::string(run.fault.name) + "-" + run.what() + ".row";
    std::replace(name.begin(), name.end(), ' ', '_');
    std::ofstream(std::filesystem::path(folder) / name)
        << "| " << run.fault.name << " | " << run.what() << " | " << seen << " | " << status << " | " << file << " |\n";
}

std::ostream& operator<<(std::ostream& stream, const SRun& run)
{
    return stream << run.fault.name << ", " << run.what();
}

class FaultMatrix : public testing::TestWithParam<SRun> {
protected:
    void runToItsEnd(Program& program)
    {
        ASSERT_TRUE(program.waitForEnd(Seconds(40))) << "hangs";
        EXPECT_EQ(program.exitStatus(), GetParam().fault.status);
        writeRow(GetParam(), linesSaid(program), std::to_string(program.exitStatus()), "none");
    }

    /// Streams, records when asked to, and watches what comes of the fault.
    void runThroughFault(Program& program)
    {
        ASSERT_NO_FATAL_FAILURE(streamAt(program, GetParam().size));
        ASSERT_NO_FATAL_FAILURE(setExposure(program, 40));
        if (GetParam().moment == EMoment::Recording) {
            ASSERT_NO_FATAL_FAILURE(startRecording(program));
        }
        ASSERT_TRUE(waitFor([&] { return hasHappened(program); }, Seconds(40)))
            << "the fault did not come\n"
            << program.standardError() << program.frameLog().size();
        std::this_thread::sleep_for(Seconds(GetParam().fault.seconds));
        ASSERT_FALSE(program.hasEnded()) << "status " << program.exitStatus() << "\n" << program.standardError();
        if (GetParam().moment == EMoment::Recording) {
            EXPECT_EQ(!program.isEnabled("stopRecording"), GetParam().fault.endsRecording);
        }
        if (program.isEnabled("stopRecording"))
            program.activate("stopRecording");
        program.activate("quit");
        ASSERT_TRUE(program.waitForEnd(Seconds(40))) << "hangs";
        EXPECT_EQ(program.exitStatus(), GetParam().fault.status) << program.standardError();
    }

    bool hasHappened(const Program& program) const
    {
        const std::string line = GetParam().fault.line;
        if (!line.empty())
            return program.standardError().find(line) != std::string::npos;
        return program.frameLog().size() > (GetParam().size.row == sFullSize.row ? 115u : 175u);
    }

    /// Gaps and odd times are the camera's; a file with a byte that is nothing, or without its index, is ours.
    static void expectWhole(const std::filesystem::path& recording)
    {
        obriadv::AdvFile file;
        ASSERT_EQ(file.open(recording), "");
        EXPECT_TRUE(file.damage().empty()) << file.damage().front().text;
        EXPECT_EQ(file.index().mainCount, file.frames().size());
        for (const auto& region : file.regions())
            EXPECT_NE(region.kind, obriadv::EAdvRegion::Unaccounted) << region.offset;
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
        expectWhole(recording);
        writeRow(GetParam(), linesSaid(program), std::to_string(program.exitStatus()), fileText(fault, held));
    }
};

} // namespace

// Fails when a fault of the camera crashes or hangs the program, passes in silence where a line is due, floods the
// terminal, or costs a recording a frame that was sent.
TEST_P(FaultMatrix, IsSurvived)
{
    const SFault& fault = GetParam().fault;
    Program program({.simulator = optionsOf(GetParam())});
    if (fault.status != 0) {
        ASSERT_NO_FATAL_FAILURE(runToItsEnd(program));
    } else {
        ASSERT_NO_FATAL_FAILURE(runThroughFault(program));
        if (GetParam().moment == EMoment::Recording)
            judgeRecording(program);
        else
            writeRow(GetParam(), linesSaid(program), std::to_string(program.exitStatus()), "none");
    }
    EXPECT_THAT(program.standardError(), HasSubstr(fault.line));
    const std::string errors = program.standardError();
    EXPECT_LT(countLines(errors, "") - countLines(errors, "libv4l2: "), 60u) << errors.substr(0, 3000);
}

INSTANTIATE_TEST_SUITE_P(Camera, FaultMatrix, testing::ValuesIn(runs()), [](const auto& test) {
    std::string name = std::string(test.param.fault.name) + test.param.size.name +
                       (test.param.moment == EMoment::Recording ? "Recording" : "Alone");
    name.erase(std::remove_if(name.begin(), name.end(), [](unsigned char c) { return !isalnum(c); }), name.end());
    return name;
});
