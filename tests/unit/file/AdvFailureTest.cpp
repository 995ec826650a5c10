#include "AdvRecording.h"

// What a disk that is full after so many bytes leaves of a recording.
class AdvFailure : public AdvRecording {
protected:
    AdvFailure()
    {
        expected.width = 100;
        expected.height = 50;
        const size_t whole = expected.add(2).build().size();
        headerLength = expected.frameAt[0];
        recordLength = expected.frameAt[1] - headerLength;
        trailerLength = whole - expected.indexAt;
    }
    // Records so many frames into a file that cannot grow beyond its limit; those that the writer says are recorded.
    uint32_t recordInto(size_t fileSize, int frames)
    {
        const FileSizeLimit limit(fileSize);
        start();
        for (int i = 0; i < frames; ++i)
            record(expected.frames[i % 2]);
        writer->StopRecording();
        EXPECT_FALSE(writer->IsRecording());
        EXPECT_EQ(writer->GetFailureText(), "Failed to write a.adv (File too large)");
        return writer->GetFrameNr();
    }
    size_t headerLength, recordLength, trailerLength;
};

TEST_F(AdvFailure, WholeFramesStayAndAreIndexed)
{
    // In the pixels, in the record's first bytes, in its last.
    for (const size_t intoThird : {recordLength / 2, size_t{90}, recordLength - 1}) {
        EXPECT_EQ(recordInto(headerLength + 2 * recordLength + intoThird, 20), 2U);
        EXPECT_EQ(readWhole("a.adv"), expected.build());
    }
}

// Room for so many frames, and for a part of the index or of the four bytes behind it.
TEST_F(AdvFailure, WithoutRoomForTheIndexTheFramesStay)
{
    expected.isFinished = false;
    for (const auto& [recorded, room] : {std::pair{20, size_t{10}}, {2, 3}, {2, trailerLength - 2}}) {
        EXPECT_EQ(recordInto(headerLength + 2 * recordLength + room, recorded), 2U);
        EXPECT_EQ(readWhole("a.adv"), expected.build());
    }
}

TEST_F(AdvFailure, WithoutRoomForTheHeaderNothingLooksLikeARecording)
{
    EXPECT_EQ(recordInto(headerLength - 1, 1), 0U);
    EXPECT_EQ(readWhole("a.adv"), Bytes());
}

// The failure comes while later frames are handed over, at any moment of that.
TEST_F(AdvFailure, CountsTheFramesThatTheFileHasWhenTheDiskAnswersLate)
{
    const Bytes two = expected.build();
    for (int round = 0; round < 300; ++round) {
        ASSERT_EQ(recordInto(headerLength + 3 * recordLength - 1 - static_cast<size_t>(round), 20), 2U);
        ASSERT_EQ(readWhole("a.adv"), two);
    }
}
