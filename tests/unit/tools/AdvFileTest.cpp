#include "AdvBuilder.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace obriadv;

std::vector<uint8_t> slice(const std::vector<uint8_t>& bytes, uint64_t from, size_t count)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

/// What must hold of any input: no byte is counted twice or forgotten, frames lie inside the file in order.
void expectSound(AdvFile& file, const std::vector<uint8_t>& bytes)
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

TEST(AdvFile, ReadsEveryFieldOfAWholeRecording)
{
    AdvBuilder builder;
    const std::vector<uint8_t> bytes = builder.add(3).build();
    // The builder itself against the layout: magic, stream, times of 2020, N = 98, layout 1.
    EXPECT_EQ(slice(bytes, builder.frameAt[0], 13),
              (std::vector<uint8_t>{0xFF, 0x22, 0x01, 0xEE, 0, 0, 0, 0xFC, 0xEA, 0x68, 0xFF, 0x60, 0x04}));

    AdvFile file;
    ASSERT_EQ(openBytes(file, bytes), "");
    EXPECT_TRUE(file.damage().empty());
    EXPECT_EQ(file.width(), 8u);
    EXPECT_EQ(file.height(), 6u);
    ASSERT_EQ(file.header().streams.size(), 2u);
    EXPECT_EQ(file.header().streams[0].name, "MAIN");
    EXPECT_EQ(file.header().streams[0].frameCount, 3u);
    EXPECT_EQ(file.header().streams[1].clockFrequency, 1000000000u);
    EXPECT_EQ(tagValue(file.header().systemMetadata, "LATITUDE"), "47.1234567");
    EXPECT_EQ(tagValue(file.header().image.tags, "IMAGE-BYTE-ORDER"), "LITTLE-ENDIAN");
    ASSERT_EQ(file.header().status.tags.size(), 12u);
    EXPECT_EQ(file.header().status.tags[2].name, "VideoCameraFrameId");
    ASSERT_EQ(file.index().entries.size(), 3u);
    EXPECT_EQ(file.index().entries[1].ticks, 400000u);
    EXPECT_EQ(file.index().entries[2].offset, builder.frameAt[2]);

    ASSERT_EQ(file.frames().size(), 3u);
    const SAdvFrame& frame = file.frames()[1];
    EXPECT_EQ(frame.offset, builder.frameAt[1]);
    EXPECT_EQ(frame.length, file.index().entries[1].length);
    EXPECT_EQ(frame.startNs, AdvBuilder::sFirstStart + AdvBuilder::sPeriod);
    EXPECT_EQ(frame.endNs - frame.startNs, AdvBuilder::sExposure);
    EXPECT_EQ(frame.pixelBytes, 96u);
    EXPECT_TRUE(frame.status.present.all());
    EXPECT_EQ(frame.status.gain, "12.0");
    EXPECT_EQ(frame.status.cameraFrameId, 1001u);
    EXPECT_EQ(frame.status.systemTimeNs, frame.startNs);
    EXPECT_EQ(frame.status.dopTime, 77u);
    EXPECT_EQ(frame.status.gdop, 1.5f);
    EXPECT_EQ(frame.status.hdop, 5.5f);
    const std::vector<EAdvRegion> expected = {EAdvRegion::Header, EAdvRegion::Frames, EAdvRegion::Index,
                                              EAdvRegion::UserMetadata};
    ASSERT_EQ(file.regions().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(file.regions()[i].kind, expected[i]);
}

TEST(AdvFile, PixelsOfEveryLayoutComeOutAsRecorded)
{
    AdvBuilder sixteen, eight, zones;
    sixteen.add(2);
    eight.bits = 8;
    eight.add(1);
    zones.zoneTags = {{"ROI-COUNT", "2"},   {"ROI-TOP-0", "1"},    {"ROI-LEFT-0", "2"},
                      {"ROI-WIDTH-0", "2"}, {"ROI-HEIGHT-0", "2"}, {"ROI-TOP-1", "5"},
                      {"ROI-LEFT-1", "0"},  {"ROI-WIDTH-1", "8"},  {"ROI-HEIGHT-1", "1"}};
    zones.add(1);
    zones.frames[0].layout = 2;
    zones.frames[0].pixels = pixelBytes({11, 12, 21, 22, 51, 52, 53, 54, 55, 56, 57, 58});

    AdvFile file;
    std::vector<uint16_t> pixels;
    std::string error;
    ASSERT_EQ(openBytes(file, sixteen.build()), "");
    ASSERT_TRUE(file.readPixels(1, pixels, error)) << error;
    EXPECT_EQ(pixelBytes(pixels), sixteen.frames[1].pixels);
    ASSERT_EQ(openBytes(file, eight.build()), "");
    ASSERT_TRUE(file.readPixels(0, pixels, error)) << error;
    EXPECT_EQ(std::vector<uint8_t>(pixels.begin(), pixels.end()), eight.frames[0].pixels);
    ASSERT_EQ(openBytes(file, zones.build()), "");
    ASSERT_TRUE(file.readPixels(0, pixels, error)) << error;
    const std::vector<uint16_t> expected = {0, 0, 0,  0,  0, 0, 0, 0, 0,  0,  11, 12, 0,  0,  0,  0,
                                            0, 0, 21, 22, 0, 0, 0, 0, 0,  0,  0,  0,  0,  0,  0,  0,
                                            0, 0, 0,  0,  0, 0, 0, 0, 51, 52, 53, 54, 55, 56, 57, 58};
    EXPECT_EQ(pixels, expected);
    EXPECT_FALSE(file.readPixels(1, pixels, error));
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

TEST(AdvFile, WhatAnInterruptionLeavesIsReadUpToTheLastWholeFrame)
{
    AdvBuilder builder;
    builder.isFinished = false;
    std::vector<uint8_t> bytes = builder.add(3).build();
    bytes.resize(bytes.size() - 1);
    AdvFile file;
    ASSERT_EQ(openBytes(file, bytes), "");
    EXPECT_EQ(file.frames().size(), 2u);
    EXPECT_FALSE(file.index().isPresent);
    ASSERT_FALSE(file.regions().empty());
    EXPECT_EQ(file.regions().back().kind, EAdvRegion::Unaccounted);
    EXPECT_EQ(file.regions().back().offset, builder.frameAt[2]);
}

TEST(AdvFile, ADamagedRecordCostsNoOtherFrame)
{
    AdvBuilder builder;
    const std::vector<uint8_t> whole = builder.add(5).build();
    for (const uint64_t inRecord : {0, 4, 21, 24, 25 + 98, 25 + 98 + 3, 25 + 98 + 16}) { // magic, stream, N, M, entries
        std::vector<uint8_t> bytes = whole;
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
    const std::vector<uint8_t> whole = builder.add(3).build();
    std::vector<uint64_t> ends(builder.frameAt.begin() + 1, builder.frameAt.end());
    ends.push_back(builder.indexAt);
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::vector<uint8_t> bytes = slice(whole, 0, size);
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
    builder.zoneTags = {{"ROI-COUNT", "1"}};
    const std::vector<uint8_t> whole = builder.add(2).build();
    for (const uint8_t value : {0x00, 0x7F, 0x80, 0xFF}) {
        for (const size_t width : {1, 2, 4, 8}) {
            for (size_t at = 0; at + width <= whole.size(); ++at) {
                std::vector<uint8_t> bytes = whole;
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), width, value);
                AdvFile file;
                if (openBytes(file, bytes).empty())
                    expectSound(file, bytes);
                ASSERT_FALSE(HasFatalFailure()) << "at " << at << " width " << width;
            }
        }
    }
}

TEST(AdvFile, RandomDamageIsSurvived)
{
    std::mt19937 random(20200101);
    AdvBuilder builder;
    builder.compression = "LAGARITH16";
    const std::vector<uint8_t> whole = builder.add(4).build();
    for (int round = 0; round < 3000; ++round) {
        std::vector<uint8_t> bytes = whole;
        for (int flips = 1 + round % 40; flips > 0; --flips)
            bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
        AdvFile file;
        if (openBytes(file, bytes).empty())
            expectSound(file, bytes);
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

struct SNoRecording {
    std::string name;
    std::function<void(std::vector<uint8_t>&)> spoil;
    std::string error; ///< part of it
};

class NoRecording : public testing::TestWithParam<SNoRecording> {};

TEST_P(NoRecording, IsRefusedWithAReason)
{
    AdvBuilder builder;
    std::vector<uint8_t> bytes = builder.add(1).build();
    GetParam().spoil(bytes);
    AdvFile file;
    EXPECT_NE(openBytes(file, bytes).find(GetParam().error), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Input, NoRecording,
                         testing::Values(SNoRecording{"Empty", [](auto& b) { b.clear(); }, "too short"},
                                         SNoRecording{"OtherMagic", [](auto& b) { b[0] = 'X'; }, "FSTF"},
                                         SNoRecording{"OtherVersion", [](auto& b) { b[4] = 1; }, "version 1"},
                                         SNoRecording{"NoSections", [](auto& b) { b[33] = 0; }, ""},
                                         SNoRecording{"HeaderOnly", [](auto& b) { b.resize(60); }, "header"}),
                         [](const auto& test) { return test.param.name; });

TEST(AdvFile, WhatIsNoFileIsRefused)
{
    AdvFile file;
    EXPECT_NE(file.open("/nonexistent/recording.adv").find("No such file"), std::string::npos);
    EXPECT_NE(file.open("/tmp").find("not a regular file"), std::string::npos);
    EXPECT_NE(file.open("/dev/zero").find("not a regular file"), std::string::npos);
}

} // namespace
