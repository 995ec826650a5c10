#include "OpenBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace obriadv;
using testing::HasSubstr;

TEST(AdvFile, ADamagedRecordCostsNoOtherFrame)
{
    AdvBuilder builder;
    const Bytes whole = builder.add(5).build();
    for (const uint64_t inRecord : {0, 4, 21, 24, 25 + 98, 25 + 98 + 3, 25 + 98 + 16}) { // magic, stream, N, M, entries
        Bytes bytes = whole;
        bytes[builder.frameAt[2] + inRecord] ^= 0x5A;
        AdvFile file;
        ASSERT_EQ(openBytes(file, bytes), "");
        ASSERT_EQ(file.frames().size(), 4u) << inRecord;
        EXPECT_EQ(file.frames()[2].offset, builder.frameAt[3]);
        EXPECT_EQ(file.damage().size(), 1u);
    }
}

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
