#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sys/resource.h>
#include <unistd.h>

namespace {

/// Processor time of the whole machine, of all processors together.
struct SProcessorTime {
    double spent = 0; ///< seconds, also by other virtual machines
    double all = 0;
    double ours = 0; ///< spent by this process and the programs that it started and that have ended
};

double secondsOf(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

SProcessorTime processorTime()
{
    constexpr int sColumns = 8, sIdle = 3, sWaitingForDisk = 4; // user, nice, system, idle, ..., steal
    std::ifstream statistics("/proc/stat");
    std::string name;
    statistics >> name;
    SProcessorTime time{0, 0, secondsOf(RUSAGE_SELF) + secondsOf(RUSAGE_CHILDREN)};
    double ticks = 0;
    for (int column = 0; column < sColumns && statistics >> ticks; ++column) {
        const double seconds = ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
        time.all += seconds;
        time.spent += column == sIdle || column == sWaitingForDisk ? 0 : seconds;
    }
    return time;
}

SProcessorTime sRunBegan = processorTime();

SCameraFrame latestFrame(const Program& program)
{
    const auto lines = program.frameLog();
    return lines.empty() ? SCameraFrame{} : parseFrameLog({lines.back()}).begin()->second;
}

/// Frames of the size that were sent since the last one of another size.
size_t sentLatelyOf(const Program& program, const SFrameSize& size)
{
    const auto camera = parseFrameLog(program.frameLog());
    size_t sent = 0;
    for (auto at = camera.rbegin(); at != camera.rend(); ++at) {
        if (at->second.width != size.width || at->second.height != size.height)
            break;
        sent += at->second.sent;
    }
    return sent;
}

} // namespace

std::vector<std::string> loading(const std::string& library)
{
    // Set from outside it would stand behind the mocked bus's library, which goes to the C library directly. The
    // separator that follows becomes the shell's name.
    return {"--", "/bin/sh", "-c", "LD_PRELOAD=" + library + ":$LD_PRELOAD exec \"$@\""};
}

bool isBusyElsewhere()
{
    constexpr double sShareToSpare = 0.2;
    const SProcessorTime now = processorTime();
    const double others = now.spent - sRunBegan.spent - (now.ours - sRunBegan.ours);
    return others > sShareToSpare * (now.all - sRunBegan.all);
}

bool isNightly()
{
    const char* text = getenv("OBRI_NIGHTLY");
    return text && *text;
}

void streamAt(Program& program, const SFrameSize& size)
{
    sRunBegan = processorTime();
    ASSERT_TRUE(program.waitForWindow()) << program.lastWords();
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv")) << program.lastWords();
    if (size.row != sFullSize.row)
        program.selectRow("alt+e", size.row);
    ASSERT_TRUE(waitFor([&] { return sentLatelyOf(program, size) >= sFramesUntilProcessed; })) << program.lastWords();
}

void setExposure(Program& program, int ms)
{
    program.key("alt+x");
    program.key("ctrl+a");
    program.type(std::to_string(ms));
    ASSERT_TRUE(waitFor([&] {
        const SCameraFrame frame = latestFrame(program);
        return std::abs(frame.endNs - frame.startNs - ms * int64_t{1'000'000}) <= 1'000'000;
    }));
}

void startRecording(Program& program, const std::string& action)
{
    program.activate(action);
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording")) << program.lastWords();
}

void stopRecording(Program& program)
{
    const size_t ended = endedRecordings(program);
    program.activate("stopRecording");
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv")) << program.lastWords();
    ASSERT_TRUE(waitFor([&] { return endedRecordings(program) > ended; })) << program.log();
}

void quit(Program& program)
{
    program.activate("quit");
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 0) << program.standardError();
}

size_t endedRecordings(const Program& program)
{
    return countLines(program.log(), "I Recording ended: "); // the last that is done for one
}

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder, const std::string& extension)
{
    std::vector<std::filesystem::path> files;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none))
        if (entry.path().extension() == extension)
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

size_t countLines(const std::string& text, const std::string& phrase)
{
    const auto lines = linesOf(text);
    return static_cast<size_t>(std::count_if(
        lines.begin(), lines.end(), [&](const std::string& line) { return line.find(phrase) != std::string::npos; }));
}

std::optional<size_t> lossToldBy(const Program& program)
{
    const std::string log = program.log();
    std::smatch words;
    if (!std::regex_search(log, words, std::regex("Recording ended: .* s, (\\d+) lost")))
        return std::nullopt;
    return std::stoul(words[1]);
}

SHeld judgeRecording(const Program& program)
{
    const auto camera = parseFrameLog(program.frameLog());
    const auto recording = program.folder() / "recording.adv";
    EXPECT_THAT(differences(recording, camera), testing::IsEmpty());
    const SHeld held = framesHeld(recording, camera);
    EXPECT_EQ(held.missing, 0u);
    EXPECT_EQ(lossToldBy(program), held.lostByCamera);
    EXPECT_EQ(countLines(program.log(), "recording.adv, " + std::to_string(held.frames) + " frames in "), 1u);
    return held;
}

void expectNoneLost(const SHeld& held)
{
    if (held.lostByCamera > 0 && isBusyElsewhere())
        GTEST_SKIP() << held.lostByCamera << " frames lost, but the machine is busy elsewhere";
    EXPECT_EQ(held.lostByCamera, 0u) << "no buffer was free";
}
