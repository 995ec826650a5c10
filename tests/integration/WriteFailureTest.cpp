#include "Observing.h"

#include "../unit/base/FileSizeLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sys/mount.h>
#include <thread>

using testing::IsEmpty;

namespace {

/// Expects a failure to have been said once to the terminal and once to the log.
void expectSaidOnce(const Program& program, const std::string& phrase)
{
    EXPECT_EQ(countLines(program.standardError(), phrase), 1u) << program.standardError();
    EXPECT_TRUE(waitFor([&] { return countLines(program.log(), "E " + phrase) >= 1; })) << program.log();
    EXPECT_EQ(countLines(program.log(), "E " + phrase), 1u) << program.log();
}

void expectFramesFlow(Program& program)
{
    EXPECT_TRUE(program.waitForMoreFrames(sFramesUntilProcessed)) << program.lastWords();
}

void expectRefused(Program& program, const std::string& action, const std::string& reason)
{
    program.activate(action);
    EXPECT_FALSE(program.isEnabled("stopRecording"));
    expectSaidOnce(program, "The recording was refused: " + reason);
}

/// Records until the file finds no more room.
void expectEndsAloudAndWhole(Program& program)
{
    program.activate("startRecordingAdv");
    ASSERT_TRUE(waitFor([&] { return endedRecordings(program) == 1; })) << "the recording goes on";
    expectFramesFlow(program);
    const auto recording = program.folder() / "recording.adv";
    EXPECT_THAT(differences(recording, parseFrameLog(program.frameLog())), IsEmpty());
    EXPECT_GE(framesIn(recording), 12u);
    expectSaidOnce(program, "The recording ends: Failed to write recording.adv (File too large)");
}

/// Files of small frames, whole ones alone.
size_t wholeFitsFiles(const std::filesystem::path& folder)
{
    const auto files = filesIn(folder, ".fits");
    for (const auto& path : files) {
        EXPECT_EQ(std::filesystem::file_size(path) % 2880, 0u) << path;
        EXPECT_GT(std::filesystem::file_size(path), 176u * 128 * 2) << path;
    }
    return files.size();
}

/// Records FITS files until one cannot be written.
void expectFitsEndsAloud(Program& program, const std::string& reason, const std::function<void()>& obstruct)
{
    const size_t ended = endedRecordings(program);
    program.activate("startRecordingFits");
    obstruct();
    ASSERT_TRUE(waitFor([&] { return endedRecordings(program) > ended; })) << program.lastWords();
    expectFramesFlow(program);
    expectSaidOnce(program, "The recording ends: " + reason);
}

} // namespace

// Fails when a recording that cannot be opened seems to run, when a full file ends the program or is not said, or when
// it leaves a file that reads up to anything but its last whole frame.
TEST(WriteFailure, OfAFileThatMayNotGrowEndsTheRecordingAloud)
{
    Program program(
        {.prepare = [](const auto& folder) { create_symlink(folder / "no" / "such", folder / "recording.adv"); }});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    expectRefused(program, "startRecordingAdv", "Failed to open recording.adv (No such file or directory)");
    std::filesystem::remove(program.folder() / "recording.adv");
    {
        const FileSizeLimit limit(60'000'000, program.processId()); // 14 full frames
        ASSERT_NO_FATAL_FAILURE(expectEndsAloudAndWhole(program));
    }
    quit(program);
}

// Fails when a FITS sequence without a place that it may write to is not refused, ends in silence when its folder goes
// away or a file may not grow, or leaves a file that was cut short.
TEST(FitsWriteFailure, IsSaidAndFramesGoOn)
{
    Program program({.prepare = [](const auto& folder) { std::ofstream(folder / "fits") << "not a folder"; }});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sSmallSize));
    const auto fits = program.folder() / "fits", gone = program.folder() / "gone";
    expectRefused(program, "startRecordingFits", "fits is not a directory");
    EXPECT_EQ(contentsOf(fits), "not a folder");
    std::filesystem::remove(fits);
    std::filesystem::create_directory(fits);
    if (mount("none", fits.c_str(), "tmpfs", MS_RDONLY, nullptr) == 0) { // not allowed on every machine
        expectRefused(program, "startRecordingFits", "fits cannot be written into (Read-only file system)");
        umount2(fits.c_str(), MNT_DETACH);
    }

    ASSERT_NO_FATAL_FAILURE(expectFitsEndsAloud(program, "Failed to open FITS file for writing.", [&] {
        EXPECT_TRUE(waitFor([&] { return filesIn(fits, ".fits").size() >= 5; }));
        std::filesystem::rename(fits, gone);
    }));
    EXPECT_GE(wholeFitsFiles(gone), 5u);
    {
        const FileSizeLimit limit(40'000, program.processId()); // a file has 48 960
        ASSERT_NO_FATAL_FAILURE(expectFitsEndsAloud(program, "Failed to write FITS file. (File too large)", [] {}));
    }
    EXPECT_EQ(wholeFitsFiles(fits), 0u);
    quit(program);
}

// Fails when starting and stopping between frames that come every two milliseconds crashes the program, or when any
// of the recordings lacks a frame or ends unfinished.
TEST(HammeredRecording, EachOneIsWhole)
{
    Program program({});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sSmallSize));
    ASSERT_NO_FATAL_FAILURE(setExposure(program, 1));
    const int rounds = isNightly() ? 500 : 60;
    for (int round = 0; round < rounds; ++round) {
        program.activate("startRecordingAdv");
        if (round % 3 == 0)
            program.activate("startRecordingAdv"); // refused while disabled, or ends the first properly
        std::this_thread::sleep_for(std::chrono::milliseconds(round % 7 * 5));
        program.activate("stopRecording");
    }
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv"));
    quit(program);

    const auto camera = parseFrameLog(program.frameLog());
    const auto recordings = filesIn(program.folder(), ".adv");
    size_t frames = 0;
    for (const auto& recording : recordings) {
        EXPECT_THAT(differences(recording, camera), IsEmpty()) << recording;
        frames += framesIn(recording);
    }
    EXPECT_GE(recordings.size(), static_cast<size_t>(rounds) / 4);
    const std::string errors = sIsSanitized ? "" : program.standardError(); // where a sanitizer's symbolizer speaks
    EXPECT_EQ(errors, "");
    printf("hammered: %d rounds left %zu recordings with %zu frames\n", rounds, recordings.size(), frames);
}
