#include "OpenBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

Bytes slice(const Bytes& bytes, uint64_t from, size_t count)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

/// What must hold of any input: no byte is counted twice or forgotten, frames lie inside the file in order.
void expectSound(AdvFile& file, const Bytes& bytes)
{
    uint64_t position = 0;
    for (const SAdvRegion& region : file.regions()) {
        ASSERT_EQ(region.offset, position);
        position += region.length;
    }
    ASSERT_EQ(position, bytes.size());
    uint64_t end = file.header().end;
    std::vector<uint16_t> pixels;
    std::string error;
    for (size_t i = 0; i < file.frames().size(); ++i) {
        ASSERT_GE(file.frames()[i].offset, end);
        end = file.frames()[i].end();
        ASSERT_LE(end, bytes.size());
        file.readPixels(i, pixels, error);
    }
}

TEST(AdvFile, ZonesThatContradictThemselvesAreRefused)
{
    for (const char* width : {"7", "4294967295", "-1", "", "2x"}) {
        AdvBuilder builder;
        builder.zoneTags = {
            {"ROI-COUNT", "1"}, {"ROI-TOP-0", "1"}, {"ROI-LEFT-0", "2"}, {"ROI-WIDTH-0", width}, {"ROI-HEIGHT-0", "2"}};
        builder.add(1);
        builder.frames[0].layout = 2;
        AdvFile file;
        ASSERT_EQ(openBytes(file, builder.build()), "");
        std::vector<uint16_t> pixels;
        std::string error;
        EXPECT_FALSE(file.readPixels(0, pixels, error)) << width;
    }
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
        expectSound(file, bytes);
    }
}

TEST(AdvFile, TruncatedAtEveryByteItKeepsEveryWholeFrame)
{
    AdvBuilder builder;
    builder.width = 3;
    builder.height = 2;
    const Bytes whole = builder.add(3).build();
    std::vector<uint64_t> ends(builder.frameAt.begin() + 1, builder.frameAt.end());
    ends.push_back(builder.indexAt);
    for (size_t size = 0; size < whole.size(); ++size) {
        const Bytes bytes = slice(whole, 0, size);
        AdvFile file;
        const std::string error = openBytes(file, bytes);
        ASSERT_EQ(error.empty(), size >= builder.frameAt[0]) << size << error;
        if (!error.empty())
            continue;
        size_t wholeFrames = 0;
        for (uint64_t end : ends)
            wholeFrames += end <= size;
        ASSERT_EQ(file.frames().size(), wholeFrames) << size;
        ASSERT_FALSE(file.damage().empty()) << size;
        expectSound(file, bytes);
    }
}

TEST(AdvFile, LyingLengthsAndCountsAreSurvivedEverywhere)
{
    AdvBuilder builder;
    builder.width = 3;
    builder.height = 2;
    builder.compression = "LAGARITH16";
    builder.zoneTags = {{"ROI-COUNT", "1"}};
    const Bytes whole = builder.add(2).build();
    for (const uint8_t value : {0x00, 0x7F, 0x80, 0xFF}) {
        for (const size_t width : {1, 2, 4, 8}) {
            for (size_t at = 0; at + width <= whole.size(); ++at) {
                Bytes bytes = whole;
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), width, value);
                AdvFile file;
                if (openBytes(file, bytes).empty())
                    expectSound(file, bytes);
                ASSERT_FALSE(HasFatalFailure()) << "at " << at << " width " << width;
            }
        }
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
    EXPECT_THAT(openBytes(file, slice(whole, 0, 60)), HasSubstr("header"));
    EXPECT_THAT(file.open("/nonexistent/recording.adv"), HasSubstr("No such file"));
    EXPECT_THAT(file.open("/dev/zero"), HasSubstr("not a regular file"));
}

} // namespace
