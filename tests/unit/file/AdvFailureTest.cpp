#include "AdvWriter.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>

using libobrifile::AdvWriter;

namespace {
constexpr int sWidth = 100, sHeight = 50;
constexpr size_t sRecordLength = 27 + sWidth * sHeight * 2 + 4 + 69;
constexpr size_t sTrailerLength = 17 + 4, sIndexEntryLength = 20;

// What a disk that is full after so many bytes leaves of a recording.
class AdvFailure : public testing::Test {
protected:
    // Records so many frames into a file that cannot grow beyond its limit; those that the writer says are recorded.
    uint32_t record(int frames, size_t fileSize)
    {
        const FileSizeLimit limit(fileSize);
        std::vector<uint8_t> frame(sWidth * sHeight * 2, 0x5A);
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        for (int i = 0; i < frames; ++i)
            writer.RecordFrame(frame.data(), frame.size(), 0);
        writer.StopRecording();
        EXPECT_FALSE(writer.IsRecording());
        EXPECT_EQ(writer.GetFailureText(), "Failed to write " + path + " (File too large)");
        return writer.GetFrameNr();
    }
    size_t headerLength()
    {
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        return readFile(path).size();
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

TEST_F(AdvFailure, WholeFramesStayAndAreIndexed)
{
    const size_t header = headerLength();
    // In the pixels, in the record's first bytes, in its last.
    for (const size_t intoThird : {sRecordLength / 2, size_t{90}, sRecordLength - 1}) {
        EXPECT_EQ(record(20, header + 2 * sRecordLength + intoThird), 2U);
        const size_t indexAt = header + 2 * sRecordLength;
        ASSERT_EQ(readFile(path).size(), indexAt + 2 * sIndexEntryLength + sTrailerLength);
        EXPECT_EQ(number(9, 8), indexAt);
        EXPECT_EQ(number(40, 4), 2U); // frames
        EXPECT_EQ(number(indexAt + 9, 4), 2U);
        EXPECT_EQ(number(indexAt + 13 + 8 + 20, 8), header + sRecordLength);
    }
}

// Room for so many frames, and for a part of the index or of the four bytes behind it.
TEST_F(AdvFailure, WithoutRoomForTheIndexTheFramesStay)
{
    const size_t header = headerLength();
    for (const auto& [recorded, room] :
         {std::pair{20, size_t{10}}, {2, 3}, {2, sTrailerLength + 2 * sIndexEntryLength - 2}}) {
        EXPECT_EQ(record(recorded, header + 2 * sRecordLength + room), 2U);
        EXPECT_EQ(readFile(path).size(), header + 2 * sRecordLength);
        EXPECT_EQ(number(9, 8) + number(25, 8) + number(40, 4), 0U);
    }
}

TEST_F(AdvFailure, WithoutRoomForTheHeaderNothingLooksLikeARecording)
{
    EXPECT_EQ(record(1, headerLength() - 1), 0U);
    EXPECT_EQ(readFile(path), "");
}

TEST_F(AdvFailure, GpsStatusFileThatCannotBeOpenedCostsNoFrame)
{
    for (const bool canOpen : {true, false}) {
        const std::string gpsPath = directory / (canOpen ? "gps.csv" : "missing/gps.csv");
        AdvWriter writer(&provider);
        writer.SetRecordGpsStatusFilePath(gpsPath);
        writer.CreateAdvFile(path, sWidth, sHeight, 16, {}, 0);
        writer.StartRecording();
        EXPECT_EQ(std::filesystem::exists(gpsPath), canOpen);
        EXPECT_TRUE(writer.IsRecording());
        writer.StopRecording();
        EXPECT_FALSE(writer.HasFailed());
    }
}
