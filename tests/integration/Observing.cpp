#include "Observing.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <thread>
#include <unordered_map>

namespace {

SCameraFrame latestFrame(const Program& program)
{
    const auto lines = program.frameLog();
    // The last line may be half written.
    if (lines.size() < 2)
        return {};
    return parseFrameLog({lines[lines.size() - 2]}).begin()->second;
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
    // Program, camera, display and a writer of this test's own keep three busy.
    constexpr double sOwnLoad = 3;
    double load = 0;
    return getloadavg(&load, 1) == 1 && load > sOwnLoad + std::thread::hardware_concurrency();
}

bool isNightly()
{
    const char* text = getenv("OBRI_NIGHTLY");
    return text && *text;
}

void streamAt(Program& program, const SFrameSize& size)
{
    ASSERT_TRUE(program.waitForWindow(Seconds(60))) << program.standardError();
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv", Seconds(60))) << program.standardError();
    ASSERT_TRUE(program.waitForFrames(3));
    if (size.row == sFullSize.row)
        return;
    program.selectRow("alt+e", size.row);
    ASSERT_TRUE(waitFor([&] { return latestFrame(program).width == size.width; })) << program.standardError();
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

void startRecording(Program& program)
{
    program.activate("startRecordingAdv");
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording")) << program.standardError();
}

void stopRecording(Program& program)
{
    program.activate("stopRecording");
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv")) << program.standardError();
    ASSERT_TRUE(waitFor([&] { return lossToldBy(program).has_value(); })) << program.log();
}

void quit(Program& program)
{
    program.activate("quit");
    ASSERT_TRUE(program.waitForEnd(Seconds(30)));
    EXPECT_EQ(program.exitStatus(), 0) << program.standardError();
}

size_t framesIn(const std::filesystem::path& recording)
{
    obriadv::AdvFile file;
    return file.open(recording).empty() ? file.frames().size() : 0;
}

size_t countLines(const std::string& text, const std::string& phrase)
{
    std::istringstream lines(text);
    size_t count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.find(phrase) != std::string::npos;
    return count;
}

std::vector<double> numbersAfter(const std::filesystem::path& log, const std::string& name)
{
    std::istringstream lines(contentsOf(log));
    const std::string start = "# " + name + " ";
    std::vector<double> numbers;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(start))
            continue;
        std::istringstream words(line.substr(start.size()));
        for (double number; words >> number;)
            numbers.push_back(number);
    }
    return numbers;
}

SHeld framesHeld(const std::filesystem::path& recording, const std::map<uint32_t, SCameraFrame>& camera)
{
    SHeld held;
    std::unordered_map<uint64_t, uint32_t> idOf;
    for (const auto& [id, frame] : camera)
        if (frame.sent)
            idOf[frame.hash] = id;

    obriadv::AdvFile file;
    std::string error = file.open(recording);
    if (!error.empty()) {
        held.strangers.push_back(error);
        return held;
    }
    held.frames = file.frames().size();
    std::vector<uint16_t> pixels;
    for (size_t n = 0; n < held.frames; ++n) {
        const bool isRead = file.readPixels(n, pixels, error);
        const auto sent = isRead ? idOf.find(hashOf(pixels)) : idOf.end();
        if (sent == idOf.end() || (held.span && sent->second <= held.span->second))
            held.strangers.push_back("frame " + std::to_string(n));
        else
            held.span = {held.span ? held.span->first : sent->second, sent->second};
    }
    if (!held.span)
        return held;
    size_t sent = 0;
    for (auto at = camera.find(held.span->first); at != camera.upper_bound(held.span->second); ++at)
        ++(at->second.sent ? sent : held.lostByCamera);
    held.missing = sent + held.strangers.size() - held.frames;
    return held;
}

std::optional<size_t> lossToldBy(const Program& program)
{
    const std::string log = program.log();
    std::smatch words;
    if (!std::regex_search(log, words, std::regex("Recording ended: .* s, (\\d+) lost")))
        return std::nullopt;
    return std::stoul(words[1]);
}
