#include "RecordingFiles.h"

#include "FilesOnDisk.h"

#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {
class RecordingFiles : public testing::Test {
protected:
    // 2024-03-05 06:07:08 UTC
    static void writeFileOfMarch(const std::string& path, const std::string& content)
    {
        writeFile(path, content);
        const timespec times[] = {{1709618828, 0}, {1709618828, 0}};
        utimensat(AT_FDCWD, path.c_str(), times, 0);
    }
    TemporaryFolder folder;
};
} // namespace

TEST_F(RecordingFiles, EarlierRecordingIsNamedAfterItsLastChange)
{
    for (const char* content : {"first", "second", "third"}) {
        writeFileOfMarch("recording.adv", content);
        EXPECT_EQ(keepEarlierFile("recording.adv"), "");
        EXPECT_FALSE(std::filesystem::exists("recording.adv"));
    }
    EXPECT_EQ(readFile("recording-20240305-060708.adv"), "first");
    EXPECT_EQ(readFile("recording-20240305-060708-2.adv"), "second");
    EXPECT_EQ(readFile("recording-20240305-060708-3.adv"), "third");
}

TEST_F(RecordingFiles, WhatIsNoRecordingStays)
{
    writeFile("recording.adv", ""); // a start that failed leaves this
    EXPECT_EQ(keepEarlierFile("recording.adv"), "");
    EXPECT_TRUE(std::filesystem::remove("recording.adv"));
    std::filesystem::create_symlink("/dev/full", "recording.adv");
    EXPECT_EQ(keepEarlierFile("recording.adv"), "");
    EXPECT_TRUE(std::filesystem::is_symlink("recording.adv"));
}

TEST_F(RecordingFiles, TakenFitsNamesGetANumber)
{
    for (const char* path : {"a_12.5ms.fits", "a_12.5ms-2.fits", "a_12.5ms-3.fits"}) {
        EXPECT_EQ(freeFitsPath("a_12.5ms.fits"), path);
        writeFile(path, "");
    }
    EXPECT_EQ(freeFitsPath("s_[FRAMENR].fits"), "s_[FRAMENR].fits");
    writeFile("s_00001.fits", "");
    EXPECT_EQ(freeFitsPath("s_[FRAMENR].fits"), "s_[FRAMENR]-2.fits");
    std::filesystem::create_directory("fi.ts");
    writeFile("fi.ts/name", "");
    EXPECT_EQ(freeFitsPath("fi.ts/name"), "fi.ts/name-2");
}
