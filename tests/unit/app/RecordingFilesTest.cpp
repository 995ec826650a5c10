#include "RecordingFiles.h"

#include "../base/TemporaryFolder.h"

#include <ctime>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::Pair;

TEST(RecordingFiles, EarlierRecordingIsNamedAfterItsLastChange)
{
    const TemporaryFolder folder;
    for (const char* content : {"first", "second", "third"}) {
        std::ofstream("recording.adv") << content;
        const timespec times[] = {{1709618828, 0}, {1709618828, 0}}; // 2024-03-05 06:07:08 UTC
        utimensat(AT_FDCWD, "recording.adv", times, 0);
        EXPECT_EQ(keepEarlierFile("recording.adv"), "");
    }
    EXPECT_THAT(filesIn("."), ElementsAre(Pair("./recording-20240305-060708-2.adv", "second"),
                                          Pair("./recording-20240305-060708-3.adv", "third"),
                                          Pair("./recording-20240305-060708.adv", "first")));
}

TEST(RecordingFiles, WhatIsNoRecordingStays)
{
    const TemporaryFolder folder;
    std::ofstream("empty.adv").flush(); // a start that failed leaves this
    std::filesystem::create_symlink("/dev/full", "device.adv");
    for (const char* path : {"empty.adv", "device.adv"}) {
        EXPECT_EQ(keepEarlierFile(path), "");
        EXPECT_TRUE(std::filesystem::exists(path));
    }
}

TEST(RecordingFiles, TakenFitsNamesGetANumber)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory("fi.ts");
    for (const char* path : {"a_12.5ms.fits", "a_12.5ms-2.fits", "s_00001.fits", "fi.ts/name"})
        std::ofstream(path).flush();
    EXPECT_EQ(freeFitsPath("a_12.5ms.fits"), "a_12.5ms-3.fits");
    EXPECT_EQ(freeFitsPath("s_[FRAMENR].fits"), "s_[FRAMENR]-2.fits");
    EXPECT_EQ(freeFitsPath("fi.ts/name"), "fi.ts/name-2");
    EXPECT_EQ(freeFitsPath("free.fits"), "free.fits");
}
