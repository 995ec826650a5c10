#include "Program.h"
#include "RecordingCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr size_t sFramesToRecord = 25;

struct SResolution {
    std::string name;
    int row; ///< in the window's box
    int width;
    int height;
};

std::ostream& operator<<(std::ostream& stream, const SResolution& resolution)
{
    return stream << resolution.name;
}

void waitForStreaming(Program& program)
{
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv", Seconds(60)));
    ASSERT_TRUE(program.waitForFrames(3));
}

void record(Program& program, size_t frames)
{
    // Refused, and asked again, when the program has not seen the first frame of this size yet.
    ASSERT_TRUE(waitFor([&] {
        program.activate("startRecordingAdv");
        return program.waitUntilEnabled("stopRecording", Seconds(1));
    }));
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + frames, Seconds(60)));
    program.activate("stopRecording");
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv"));
}

void quit(Program& program)
{
    program.activate("quit");
    ASSERT_TRUE(program.waitForEnd());
    EXPECT_EQ(program.exitStatus(), 0);
}

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder, const std::string& extension)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::exists(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == extension)
                files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

class RecordingAt : public testing::TestWithParam<SResolution> {};

} // namespace

// Fails when a frame that the camera sent is missing, doubled, altered or carries another's times, at any size.
TEST_P(RecordingAt, HoldsEveryFrameAsSent)
{
    Program program({.simulator = {"--pace", "buffers", "--gps-fix-after", "0"}});
    waitForStreaming(program);
    program.selectRow("alt+e", GetParam().row);
    ASSERT_TRUE(waitFor([&] {
        const auto camera = parseFrameLog(program.frameLog());
        return camera.rbegin()->second.width == GetParam().width && camera.rbegin()->second.height == GetParam().height;
    })) << program.standardOutput();
    ASSERT_NO_FATAL_FAILURE(record(program, sFramesToRecord));
    quit(program);

    obriadv::AdvFile file;
    ASSERT_EQ(file.open(program.folder() / "recording.adv"), "");
    EXPECT_EQ(file.width(), static_cast<uint32_t>(GetParam().width));
    EXPECT_EQ(file.height(), static_cast<uint32_t>(GetParam().height));
    EXPECT_GE(file.frames().size(), sFramesToRecord - 6);
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
    for (const auto& frame : file.frames()) {
        EXPECT_EQ(frame.status.fixStatus & 3, 3);
        EXPECT_GT(frame.status.satellites, 3);
        EXPECT_GT(frame.status.gdop, 0.0f);
        EXPECT_EQ(frame.status.present.count(), 12u);
    }
}

INSTANTIATE_TEST_SUITE_P(Size, RecordingAt,
                         testing::Values(SResolution{"Full", 0, 1624, 1240}, SResolution{"Strip", 1, 1624, 128},
                                         SResolution{"Small", 2, 176, 128}, SResolution{"Half", 3, 816, 620},
                                         SResolution{"Quarter", 4, 408, 310}),
                         [](const auto& test) { return test.param.name; });

// Fails when the names given on the command line do not reach the file.
TEST(Recording, CarriesTheNames)
{
    Program program(
        {.arguments = {"--observer-name=Ada", "--telescope-name=Ten inch", "--object-name=(704) Interamnia"}});
    waitForStreaming(program);
    ASSERT_NO_FATAL_FAILURE(record(program, 3));
    quit(program);
    obriadv::AdvFile file;
    ASSERT_EQ(file.open(program.folder() / "recording.adv"), "");
    const auto& tags = file.header().systemMetadata;
    EXPECT_EQ(obriadv::tagValue(tags, "OBSERVER"), "Ada");
    EXPECT_EQ(obriadv::tagValue(tags, "TELESCOPE"), "Ten inch");
    EXPECT_EQ(obriadv::tagValue(tags, "OBJNAME"), "(704) Interamnia");
}

// Fails when a second recording, or an earlier night's, is overwritten or gets the first one's times.
TEST(Recording, KeepsEarlierOnesAndGivesEachItsOwnTimes)
{
    Program program({});
    std::ofstream(program.folder() / "recording.adv") << "an earlier night";
    waitForStreaming(program);
    ASSERT_NO_FATAL_FAILURE(record(program, 5));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    ASSERT_NO_FATAL_FAILURE(record(program, 5));
    quit(program);

    const auto files = filesIn(program.folder(), ".adv");
    ASSERT_THAT(files, SizeIs(3));
    const auto camera = parseFrameLog(program.frameLog());
    size_t recordings = 0;
    for (const auto& path : files) {
        if (contentsOf(path) == "an earlier night")
            continue;
        ++recordings;
        EXPECT_THAT(differences(path, camera), IsEmpty()) << path;
    }
    EXPECT_EQ(recordings, 2u);
}

// Fails when a recording survives a change of the frames' size with frames of two sizes in it, or is lost by it.
TEST(Recording, EndsBeforeTheResolutionChanges)
{
    Program program({});
    waitForStreaming(program);
    program.activate("startRecordingAdv");
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording"));
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + 6));
    program.selectRow("alt+e", 4);
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv"));
    quit(program);
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
    obriadv::AdvFile file;
    ASSERT_EQ(file.open(program.folder() / "recording.adv"), "");
    EXPECT_EQ(file.width(), 1624u);
    EXPECT_GE(file.frames().size(), 3u);
}

// Fails when a recording that cannot be opened seems to run.
TEST(Recording, ThatCannotBeOpenedIsRefusedAloud)
{
    Program program({});
    std::filesystem::create_directories(program.folder() / "recording.adv" / "in the way");
    waitForStreaming(program);
    // A folder of that name could be renamed aside like a file; what cannot be written at all is refused.
    program.activate("startRecordingAdv");
    ASSERT_TRUE(program.waitForFrames(program.framesSent() + 3));
    quit(program);
    const bool refused = program.standardError().find("recording.adv") != std::string::npos;
    const bool recorded = std::filesystem::is_regular_file(program.folder() / "recording.adv");
    EXPECT_NE(refused, recorded) << program.standardError();
    if (refused) {
        EXPECT_THAT(program.log(), HasSubstr("E "));
    }
}

TEST(Recording, OfFitsFramesMakesItsFolder)
{
    Program program({});
    waitForStreaming(program);
    program.activate("singleFitsLight");
    ASSERT_TRUE(waitFor([&] { return filesIn(program.folder() / "fits", ".fits").size() == 1; }));
    program.activate("startRecordingFits");
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording"));
    ASSERT_TRUE(waitFor([&] { return filesIn(program.folder() / "fits", ".fits").size() >= 6; }));
    program.activate("stopRecording");
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingFits"));
    quit(program);
    for (const auto& path : filesIn(program.folder() / "fits", ".fits"))
        EXPECT_EQ(std::filesystem::file_size(path) % 2880, 0u) << path;
}

// Start pressed while the streaming thread still waits its three seconds must neither crash nor stream twice.
TEST(Streaming, MayBeStartedInTheFirstSeconds)
{
    Program program({});
    ASSERT_TRUE(program.waitForWindow());
    program.activate("startStreaming");
    ASSERT_TRUE(program.waitForFrames(2));
    std::this_thread::sleep_for(std::chrono::seconds(4));
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv"));
    ASSERT_NO_FATAL_FAILURE(record(program, 5));
    quit(program);
    EXPECT_THAT(differences(program.folder() / "recording.adv", parseFrameLog(program.frameLog())), IsEmpty());
}
