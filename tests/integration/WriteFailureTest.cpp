#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr uint64_t sRoom = 60'000'000; // 14 full frames; the simulated camera's own buffers need less

/// A place where recording.adv finds room for few frames, and what the system says then.
class NarrowPlace {
public:
    virtual ~NarrowPlace() = default;
    virtual int error() const = 0;
    /// Called before the program starts; false when this machine does not offer such a place.
    virtual bool prepare(const std::filesystem::path& folder) = 0;
};

/// The program may not write longer files. Children inherit the limit, so nothing else is to start meanwhile.
class FileSizeLimit : public NarrowPlace {
public:
    ~FileSizeLimit() override { setrlimit(RLIMIT_FSIZE, &m_before); }
    int error() const override { return EFBIG; }
    bool prepare(const std::filesystem::path&) override
    {
        rlimit limit = m_before;
        limit.rlim_cur = sRoom;
        return setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }

private:
    const rlimit m_before = [] {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        return limit;
    }();
};

/// The recording lies on a small file system of its own.
class FullDisk : public NarrowPlace {
public:
    ~FullDisk() override
    {
        if (m_isMounted)
            umount2(m_mount.c_str(), MNT_DETACH);
    }
    int error() const override { return ENOSPC; }
    bool prepare(const std::filesystem::path& folder) override
    {
        m_mount = folder / "disk";
        std::filesystem::create_directory(m_mount);
        m_isMounted = mount("none", m_mount.c_str(), "tmpfs", 0, ("size=" + std::to_string(sRoom)).c_str()) == 0;
        std::filesystem::create_symlink(m_mount / "recording.adv", folder / "recording.adv");
        return m_isMounted;
    }

private:
    std::filesystem::path m_mount;
    bool m_isMounted = false;
};

/// A temporary folder for runs that need something in it beforehand.
class Folder {
public:
    Folder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "obri-camctl-test-XXXXXX";
        m_path = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

template <class Place>
class WriteFailure : public testing::Test {
};

struct SPlaceNames {
    template <class Place>
    static std::string GetName(int)
    {
        return std::is_same_v<Place, FullDisk> ? "FullDisk" : "FileSizeLimit";
    }
};

using Places = testing::Types<FileSizeLimit, FullDisk>;
TYPED_TEST_SUITE(WriteFailure, Places, SPlaceNames);

/// Expects the failure to have been said once to the terminal and once to the log.
void expectSaidOnce(const Program& program, const std::string& phrase)
{
    EXPECT_EQ(countLines(program.standardError(), phrase), 1u) << program.standardError();
    EXPECT_EQ(countLines(program.log(), "E " + phrase), 1u) << program.log();
}

void expectFramesFlow(Program& program)
{
    EXPECT_TRUE(program.waitForFrames(program.frameLog().size() + 5)) << program.standardError();
}

} // namespace

// Fails when a full disk ends the program, is not said, or leaves a file that reads up to anything but its last whole
// frame.
TYPED_TEST(WriteFailure, EndsTheRecordingAloudAndKeepsWhatIsWhole)
{
    Desktop::instance(); // its servers are not to live under the limit
    const Folder folder;
    TypeParam place;
    if (!place.prepare(folder.path()))
        GTEST_SKIP() << "not possible here: " << strerror(errno);
    Program program({.folder = folder.path()});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    ASSERT_NO_FATAL_FAILURE(startRecording(program));
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingAdv")) << "the recording goes on";
    expectFramesFlow(program);
    const auto recording = folder.path() / "recording.adv";
    const auto camera = parseFrameLog(program.frameLog());
    EXPECT_THAT(differences(recording, camera), IsEmpty());
    EXPECT_GE(framesIn(recording), 12u);
    expectSaidOnce(program,
                   std::string("The recording ends: Failed to write recording.adv (") + strerror(place.error()) + ")");
    quit(program);
}

// Fails when a FITS recording without a place to write to is not refused, or when its folder goes away under it.
TEST(FitsWriteFailure, IsSaidAndFramesGoOn)
{
    const Folder folder;
    std::ofstream(folder.path() / "fits") << "not a folder";
    Program program({.folder = folder.path()});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sSmallSize));
    program.activate("startRecordingFits");
    ASSERT_TRUE(waitFor([&] { return !program.standardError().empty(); }));
    expectSaidOnce(program, "The recording was refused: fits is not a directory");
    EXPECT_FALSE(program.isEnabled("stopRecording"));
    EXPECT_EQ(contentsOf(folder.path() / "fits"), "not a folder");

    std::filesystem::remove(folder.path() / "fits");
    program.activate("startRecordingFits");
    ASSERT_TRUE(program.waitUntilEnabled("stopRecording"));
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(folder.path() / "fits"); }));
    expectFramesFlow(program);
    std::filesystem::rename(folder.path() / "fits", folder.path() / "gone");
    ASSERT_TRUE(program.waitUntilEnabled("startRecordingFits"));
    expectFramesFlow(program);
    expectSaidOnce(program, "The recording ends: ");
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "gone")) {
        EXPECT_EQ(entry.file_size() % 2880, 0u) << entry.path();
        EXPECT_GT(entry.file_size(), 176u * 128 * 2) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 4u);
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
    size_t recordings = 0, frames = 0;
    for (const auto& entry : std::filesystem::directory_iterator(program.folder())) {
        if (entry.path().extension() != ".adv")
            continue;
        EXPECT_THAT(differences(entry.path(), camera), IsEmpty()) << entry.path();
        frames += framesIn(entry.path());
        ++recordings;
    }
    EXPECT_GE(recordings, static_cast<size_t>(rounds) / 4);
    EXPECT_EQ(program.standardError(), "");
    printf("hammered: %d rounds left %zu recordings with %zu frames\n", rounds, recordings, frames);
}
