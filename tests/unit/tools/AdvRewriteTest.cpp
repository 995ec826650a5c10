#include "AdvRewrite.h"
#include "../file/RecordingTestKit.h"
#include "AdvBuilder.h"
#include "AdvVerify.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

class AdvRewrite : public testing::Test {
    const TemporaryFolder m_folder;
};

TEST_F(AdvRewrite, CompressedAndDecompressedARecordingIsTheSameToTheByte)
{
    AdvBuilder builder(40, 30);
    builder.add(6);
    builder.zoneTags = {
        {"ROI-COUNT", "1"}, {"ROI-TOP-0", "29"}, {"ROI-LEFT-0", "0"}, {"ROI-WIDTH-0", "40"}, {"ROI-HEIGHT-0", "1"}};
    builder.frames[4].layout = 2; // a region stays as it is
    builder.frames[4].pixels.resize(80);
    const Bytes original = builder.build();
    writeWhole("in.adv", original);
    const SRewriteResult compressed = compressRecording("in.adv", "small.adv");
    ASSERT_EQ(compressed.error, "");
    EXPECT_THAT(compressed.summary, HasSubstr("6 frames, every one compared"));
    EXPECT_LT(std::filesystem::file_size("small.adv"), original.size());
    EXPECT_EQ(verifyRecording("small.adv").exitStatus(), 0);
    ASSERT_EQ(decompressRecording("small.adv", "back.adv").error, "");
    EXPECT_EQ(readWhole("back.adv"), original);
    EXPECT_EQ(readWhole("in.adv"), original);
}

TEST_F(AdvRewrite, AFullDiskLeavesNoHalfRecording)
{
    writeWhole("in.adv", AdvBuilder(40, 30).add(40).build());
    const FileSizeLimit limit(50000);
    EXPECT_THAT(repairRecording("in.adv", "out").error, HasSubstr("cannot write"));
    EXPECT_FALSE(std::filesystem::exists("out") || std::filesystem::exists("out.part"));
}

TEST_F(AdvRewrite, TruncatedAtAnyByteARecordingIsRepairedUpToItsLastWholeFrame)
{
    AdvBuilder builder(3, 2);
    const Bytes whole = builder.add(2).build();
    std::vector<uint64_t> ends(builder.frameAt.begin() + 1, builder.frameAt.end());
    ends.push_back(builder.indexAt);
    for (size_t size = builder.frameAt[0] - 1; size < whole.size(); ++size) {
        const std::string out = std::to_string(size);
        const Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        writeWhole("in.adv", bytes);
        ASSERT_EQ(repairRecording("in.adv", out).error.empty(), size >= builder.frameAt[0]) << size;
        // What a camera program that was not interrupted would have written.
        const auto kept = static_cast<size_t>(std::upper_bound(ends.begin(), ends.end(), size) - ends.begin());
        ASSERT_EQ(readWhole(out), size < builder.frameAt[0] ? Bytes() : AdvBuilder(3, 2).add(kept).build()) << size;
        ASSERT_EQ(readWhole("in.adv"), bytes);
    }
}

TEST_F(AdvRewrite, RepairLeavesOutADamagedRecordAndWritesAnIndexOfFullWidth)
{
    AdvBuilder builder;
    builder.add(5);
    builder.frames[4].startNs += 500'000'000'000; // ticks beyond 32 bits
    builder.frames[4].endNs += 500'000'000'000;
    const Bytes whole = builder.build();
    for (const uint64_t inRecord : {0, 4, 21, 24, 25 + 98, 25 + 98 + 3, 25 + 98 + 16}) { // magic, stream, N, M, entries
        Bytes bytes = whole;
        bytes[builder.frameAt[1] + inRecord] ^= 0x04;
        writeWhole("in.adv", bytes);
        const std::string out = std::to_string(inRecord);
        EXPECT_THAT(repairRecording("in.adv", out).summary, HasSubstr("4 whole frames kept, 200 bytes"));
        AdvFile file;
        ASSERT_EQ(file.open(out), "");
        EXPECT_EQ(file.index().entries.at(3).ticks, 5'001'600'000u);
        const SVerifyReport report = verifyRecording(file, out);
        EXPECT_TRUE(report.findings.empty()) << report.text();
        EXPECT_EQ(report.gaps.at(0).missing, 1u);
    }
}

} // namespace
