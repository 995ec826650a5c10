#include "AdvRewrite.h"
#include "AdvBuilder.h"
#include "AdvVerify.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

class AdvRewrite : public testing::Test {
protected:
    std::string write(const std::string& name, const std::vector<uint8_t>& bytes)
    {
        writeWhole(m_folder.path(name), bytes);
        return m_folder.path(name);
    }
    std::string path(const std::string& name) const { return m_folder.path(name); }
    void expectNothingLeft(const std::string& name)
    {
        EXPECT_FALSE(std::filesystem::exists(path(name)));
        EXPECT_FALSE(std::filesystem::exists(path(name + ".part")));
    }

private:
    TemporaryFolder m_folder;
};

AdvBuilder starField(size_t frames)
{
    AdvBuilder builder;
    builder.width = 40;
    builder.height = 30;
    builder.add(frames);
    std::mt19937 random(5);
    for (auto& frame : builder.frames) {
        std::vector<uint16_t> pixels(1200);
        for (auto& pixel : pixels)
            pixel = static_cast<uint16_t>(2000 + 16 * (random() % 30));
        frame.pixels = pixelBytes(pixels);
    }
    return builder;
}

TEST_F(AdvRewrite, CompressedAndDecompressedARecordingIsTheSameToTheByte)
{
    AdvBuilder builder = starField(6);
    builder.zoneTags = {
        {"ROI-COUNT", "1"}, {"ROI-TOP-0", "29"}, {"ROI-LEFT-0", "0"}, {"ROI-WIDTH-0", "40"}, {"ROI-HEIGHT-0", "1"}};
    builder.frames[4].layout = 2; // a region stays as it is
    builder.frames[4].pixels.resize(80);
    const std::vector<uint8_t> original = builder.build();
    const std::string in = write("in.adv", original);

    const SRewriteResult compressed = compressRecording(in, path("small.adv"));
    ASSERT_EQ(compressed.error, "");
    EXPECT_THAT(compressed.summary, HasSubstr("6 frames, every one compared"));
    EXPECT_LT(std::filesystem::file_size(path("small.adv")), original.size() / 2);
    EXPECT_EQ(verifyRecording(path("small.adv")).exitStatus(), 0);
    AdvFile file, small;
    ASSERT_EQ(file.open(in), "");
    ASSERT_EQ(small.open(path("small.adv")), "");
    for (size_t i = 0; i < 6; ++i) {
        std::vector<uint16_t> before, after;
        std::string error;
        ASSERT_TRUE(file.readPixels(i, before, error) && small.readPixels(i, after, error)) << error;
        EXPECT_EQ(before, after);
    }

    ASSERT_EQ(decompressRecording(path("small.adv"), path("back.adv")).error, "");
    EXPECT_EQ(readWhole(path("back.adv")), original);
    EXPECT_EQ(readWhole(in), original);
}

TEST_F(AdvRewrite, WhatCannotBeConvertedIsRefusedAndNothingIsLeft)
{
    AdvBuilder eight;
    eight.bits = 8;
    AdvBuilder damaged;
    damaged.compression = "LAGARITH16";
    const std::string whole = write("whole.adv", starField(1).build());
    EXPECT_THAT(compressRecording(write("eight.adv", eight.add(1).build()), path("out")).error, HasSubstr("16-bit"));
    EXPECT_THAT(decompressRecording(whole, path("out")).error, HasSubstr("is not compressed"));
    EXPECT_THAT(decompressRecording(write("bad.adv", damaged.add(1).build()), path("out")).error,
                HasSubstr("frame 0 cannot be decoded"));
    expectNothingLeft("out");
    EXPECT_THAT(compressRecording(whole, whole).error, HasSubstr("exists already"));
    EXPECT_THAT(compressRecording(whole, path("no/such/folder")).error, HasSubstr("No such file"));
}

TEST_F(AdvRewrite, AFullDiskLeavesNoHalfRecording)
{
    const std::string in = write("in.adv", starField(40).build());
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{50000, before.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const SRewriteResult result = repairRecording(in, path("out.adv"));
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_THAT(result.error, HasSubstr("cannot write"));
    expectNothingLeft("out.adv");
}

TEST_F(AdvRewrite, RepairedATruncatedRecordingIsWholeUpToTheLastFrame)
{
    AdvBuilder builder;
    builder.isFinished = false;
    const std::vector<uint8_t> interrupted = builder.add(4).build();
    for (size_t cut = 1; cut < interrupted.size() - builder.frameAt[2]; cut += 37) {
        std::vector<uint8_t> bytes = interrupted;
        bytes.resize(bytes.size() - cut);
        const std::string in = write("in.adv", bytes), out = path("out" + std::to_string(cut));
        ASSERT_EQ(repairRecording(in, out).error, "");
        // What a camera program that was not interrupted would have written.
        const size_t kept = interrupted.size() - cut >= builder.frameAt[3] ? 3 : 2;
        EXPECT_EQ(readWhole(out), AdvBuilder().add(kept).build()) << cut;
        EXPECT_EQ(readWhole(in), bytes);
    }
}

TEST_F(AdvRewrite, RepairedALongRecordingHasAnIndexOfFullWidth)
{
    AdvBuilder builder;
    builder.add(3);
    builder.frames[2].startNs += 500'000'000'000; // ticks beyond 32 bits
    builder.frames[2].endNs += 500'000'000'000;
    ASSERT_EQ(repairRecording(write("in.adv", builder.build()), path("out.adv")).error, "");
    AdvFile file;
    ASSERT_EQ(file.open(path("out.adv")), "");
    EXPECT_EQ(file.index().entries.at(2).ticks, 5'000'800'000u);
    EXPECT_EQ(file.index().entries[2].offset, file.frames()[2].offset);
}

TEST_F(AdvRewrite, RepairLeavesOutADamagedRecordAndClosesTheGap)
{
    AdvBuilder builder;
    std::vector<uint8_t> bytes = builder.add(5).build();
    bytes[builder.frameAt[1]] = 0;
    const SRewriteResult result = repairRecording(write("in.adv", bytes), path("out.adv"));
    EXPECT_THAT(result.summary, HasSubstr("4 whole frames kept, 200 bytes"));
    const SVerifyReport report = verifyRecording(path("out.adv"));
    EXPECT_TRUE(report.findings.empty()) << report.text();
    ASSERT_EQ(report.gaps.size(), 1u);
    EXPECT_EQ(report.gaps[0].missing, 1u);
}

} // namespace
