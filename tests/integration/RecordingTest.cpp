#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

using testing::ContainsRegex;
using testing::IsEmpty;

// Fails when a frame that the camera sent is missing, doubled, altered or carries another's times, at any size; when
// a recording is overwritten by a later one; or when the names do not reach the file.
TEST(Recording, HoldsEveryFrameAsSentAtEverySize)
{
    Program program(
        {.simulator = {"--pace", "buffers", "--gps-fix-after", "0"},
         .arguments = {"--observer-name=Ada", "--telescope-name=Ten inch", "--object-name=(704) Interamnia"}});
    constexpr size_t sFramesToRecord = 25;
    std::multiset<std::pair<int, int>> expected, recorded;
    for (const SFrameSize& size : sSizes) {
        expected.emplace(size.width, size.height);
        ASSERT_NO_FATAL_FAILURE(streamAt(program, size));
        ASSERT_NO_FATAL_FAILURE(startRecording(program));
        ASSERT_TRUE(program.waitForMoreFrames(sFramesToRecord));
        ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    }
    quit(program);

    const auto camera = parseFrameLog(program.frameLog());
    for (const auto& path : filesIn(program.folder(), ".adv")) {
        obriadv::AdvFile file;
        ASSERT_EQ(file.open(path), "");
        recorded.emplace(file.width(), file.height());
        EXPECT_GE(file.frames().size(), sFramesToRecord - sFramesUntilProcessed);
        EXPECT_THAT(differences(path, camera), IsEmpty()) << path;
        const auto& tags = file.header().systemMetadata;
        EXPECT_EQ(obriadv::tagValue(tags, "OBSERVER"), "Ada");
        EXPECT_EQ(obriadv::tagValue(tags, "TELESCOPE"), "Ten inch");
        EXPECT_EQ(obriadv::tagValue(tags, "OBJNAME"), "(704) Interamnia");
        for (const auto& frame : file.frames()) {
            EXPECT_EQ(frame.status.fixStatus & 3, 3);
            EXPECT_GT(frame.status.gdop, 0.0f);
        }
    }
    EXPECT_EQ(recorded, expected);
}

// Fails when a FITS file or a sequence is cut short, or when a recording leaves no totals in the log: one that another
// follows at once, one that ends with the program.
TEST(Recording, OfEveryFormatIsCompleteAndCounted)
{
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    program.activate("singleFitsLight");
    ASSERT_TRUE(waitFor([&] { return filesIn(program.folder() / "fits", ".fits").size() == 1; }));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    ASSERT_TRUE(program.waitForMoreFrames(sFramesUntilProcessed));
    ASSERT_NO_FATAL_FAILURE(stopRecording(program));
    ASSERT_NO_FATAL_FAILURE(startRecording(program, "startRecordingFits"));
    ASSERT_TRUE(program.waitForMoreFrames(2 * sFramesUntilProcessed));
    quit(program);

    const auto files = filesIn(program.folder() / "fits", ".fits");
    EXPECT_GE(files.size(), 1 + sFramesUntilProcessed);
    for (const auto& path : files) {
        EXPECT_EQ(std::filesystem::file_size(path) % 2880, 0u) << path;
        EXPECT_GT(std::filesystem::file_size(path), 1624u * 1240 * 2) << path;
    }
    const std::string totals = ", [0-9]+ frames? in [0-9]+\\.[0-9] s, 0 lost, [0-9]+ MB\n";
    EXPECT_THAT(program.log(), ContainsRegex("I Recording ended: recording\\.adv" + totals));
    EXPECT_THAT(program.log(), ContainsRegex("I Recording ended: fits/.*\\.fits" + totals));
}
