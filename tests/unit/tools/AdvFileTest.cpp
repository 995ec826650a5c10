#include "OpenBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace obriadv;
using testing::HasSubstr;

TEST(AdvFile, WhatIsNoRecordingIsRefusedWithAReason)
{
    const Bytes whole = AdvBuilder().add(1).build();
    Bytes otherMagic = whole, otherVersion = whole;
    otherMagic[0] = 'X';
    otherVersion[4] = 1;
    AdvFile file;
    EXPECT_THAT(openBytes(file, {}), HasSubstr("too short"));
    EXPECT_THAT(openBytes(file, otherMagic), HasSubstr("FSTF"));
    EXPECT_THAT(openBytes(file, otherVersion), HasSubstr("version 1"));
    EXPECT_THAT(openBytes(file, Bytes(whole.begin(), whole.begin() + 60)), HasSubstr("header"));
    EXPECT_THAT(file.open("/nonexistent/recording.adv"), HasSubstr("No such file"));
    EXPECT_THAT(file.open("/dev/zero"), HasSubstr("not a regular file"));
}
