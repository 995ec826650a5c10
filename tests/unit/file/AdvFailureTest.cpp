#include "AdvWriter.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>

using libobrifile::AdvWriter;

namespace {
constexpr int sWidth = 100, sHeight = 50;
constexpr size_t sRecordLength = 27 + sWidth * sHeight * 2 + 4 + 69;
constexpr size_t sTrailerLength = 17 + 4, sIndexEntryLength = 20;

// What a disk that is full after so many bytes leaves of a recording.
class AdvOnAFullDisk : public testing::Test {
protected:
    size_t headerLength()
    {
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        return readFile(path).size();
    }
    // Records until the writer gives up; the frames that it says are recorded.
    uint32_t recordUpTo(size_t fileSize)
    {
        const FileSizeLimit limit(fileSize);
        std::vector<uint8_t> frame(sWidth * sHeight * 2, 0x5A);
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        for (int i = 0; i < 20; ++i)
            writer.RecordFrame(frame.data(), frame.size(), 0);
        EXPECT_FALSE(writer.IsRecording());
        EXPECT_EQ(writer.GetFailureText(), "Failed to write " + path + " (File too large)");
        writer.StopRecording();
        return writer.GetFrameNr();
    }
    uint64_t number(size_t at, size_t bytes)
    {
        const std::string file = readFile(path);
        uint64_t value = 0;
        for (size_t i = 0; i < bytes; ++i)
            value |= uint64_t{static_cast<uint8_t>(file.at(at + i))} << (8 * i);
        return value;
    }

    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "recording.adv";
};
} // namespace

TEST_F(AdvOnAFullDisk, WholeFramesStayAndAreIndexed)
{
    const size_t header = headerLength();
    // In the pixels, in the record's first bytes, in its last.
    for (const size_t intoThird : {sRecordLength / 2, size_t{90}, sRecordLength - 1}) {
        EXPECT_EQ(recordUpTo(header + 2 * sRecordLength + intoThird), 2U);
        const size_t indexAt = header + 2 * sRecordLength;
        ASSERT_EQ(readFile(path).size(), indexAt + 2 * sIndexEntryLength + sTrailerLength);
        EXPECT_EQ(number(9, 8), indexAt);
        EXPECT_EQ(number(40, 4), 2U); // frames
        EXPECT_EQ(number(indexAt + 9, 4), 2U);
        EXPECT_EQ(number(indexAt + 13 + 8 + 20, 8), header + sRecordLength);
    }
}

TEST_F(AdvOnAFullDisk, WithoutRoomForTheIndexTheFramesStay)
{
    const size_t header = headerLength();
    EXPECT_EQ(recordUpTo(header + 2 * sRecordLength + 10), 2U);
    EXPECT_EQ(readFile(path).size(), header + 2 * sRecordLength);
    EXPECT_EQ(number(9, 8), 0U);
    EXPECT_EQ(number(25, 8), 0U);
    EXPECT_EQ(number(40, 4), 0U);
}

TEST_F(AdvOnAFullDisk, WithoutRoomForTheHeaderNothingLooksLikeARecording)
{
    const FileSizeLimit limit(headerLength() - 1);
    AdvWriter writer(&provider);
    writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
    writer.StartRecording();
    EXPECT_FALSE(writer.IsRecording());
    EXPECT_EQ(writer.GetFailureText(), "Failed to write " + path + " (File too large)");
    EXPECT_EQ(readFile(path), "");
}

TEST_F(AdvOnAFullDisk, FullWhenStoppedStillKeepsTheFrames)
{
    const size_t header = headerLength();
    // No room for the index, or none for the four bytes behind it.
    for (const size_t room : {size_t{3}, sTrailerLength + sIndexEntryLength - 2}) {
        const FileSizeLimit limit(header + sRecordLength + room);
        std::vector<uint8_t> frame(sWidth * sHeight * 2, 0x5A);
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        writer.RecordFrame(frame.data(), frame.size(), 0);
        EXPECT_FALSE(writer.HasFailed());
        writer.StopRecording();
        EXPECT_TRUE(writer.HasFailed());
        EXPECT_EQ(readFile(path).size(), header + sRecordLength);
        EXPECT_EQ(number(9, 8) + number(25, 8) + number(40, 4), 0U);
    }
}
