#include "OpenBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

Bytes cut(Bytes bytes, size_t size)
{
    bytes.resize(size);
    return bytes;
}

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

TEST(AdvFile, TruncatedAtEveryByteItKeepsEveryWholeFrame)
{
    AdvBuilder builder(3, 2);
    const Bytes whole = builder.add(3).build();
    std::vector<uint64_t> ends(builder.frameAt.begin() + 1, builder.frameAt.end());
    ends.push_back(builder.indexAt);
    for (size_t size = 0; size < whole.size(); ++size) {
        AdvFile file;
        const std::string error = openBytes(file, cut(whole, size));
        ASSERT_EQ(error.empty(), size >= builder.frameAt[0]) << size << error;
        const auto wholeFrames = std::upper_bound(ends.begin(), ends.end(), size) - ends.begin();
        ASSERT_EQ(file.frames().size(), static_cast<size_t>(wholeFrames)) << size;
        ASSERT_TRUE(!error.empty() || !file.damage().empty()) << size;
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
    EXPECT_THAT(openBytes(file, cut(whole, 60)), HasSubstr("header"));
    EXPECT_THAT(file.open("/nonexistent/recording.adv"), HasSubstr("No such file"));
    EXPECT_THAT(file.open("/dev/zero"), HasSubstr("not a regular file"));
}

} // namespace
