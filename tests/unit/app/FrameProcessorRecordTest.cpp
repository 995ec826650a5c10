// What reaches a recording, and the averaged FITS files.

#include "FrameProcessorSite.h"

using testing::HasSubstr;

namespace {

class FrameRecording : public FrameProcessorSite {
protected:
    // Pixel (0, 0) lies in the last row of the file's image, with the top bit inverted and high byte first.
    int pixelInFile(const std::string& file) const
    {
        const size_t at = 2880 + (pixels.size() - static_cast<size_t>(cam.w)) * 2;
        return (static_cast<uint8_t>(file[at]) << 8 | static_cast<uint8_t>(file[at + 1])) ^ 0x8000;
    }
    std::string recording()
    {
        processor.StopRecording();
        return folder.textOf("recording.adv");
    }
};

} // namespace

TEST_F(FrameRecording, GoesOnWhenAnotherStepFails)
{
    frames();
    processor.StartRecordingAdv();
    sPretended.previewFails = true;
    EXPECT_EQ(saidBy([&] { frames(2); }), "Frame processing failed: std::bad_alloc\n");
    EXPECT_TRUE(processor.IsRecording());
    EXPECT_EQ(recording().at(40), 2);
    EXPECT_EQ(sPretended.released, 3);
}

// A frame that one of them took before its corrections would differ from what the others have.
TEST_F(FrameRecording, EveryTakerGetsTheCorrectedAndStampedFrame)
{
    frames();
    cam.applyNoiseCorrection = cam.showPcTime = 1;
    processor.SetShowPixelOverflow(true);
    for (int y = 0; y < cam.h; ++y)
        std::fill_n(&pixel(0, y), cam.w, static_cast<uint16_t>(y % 2 ? 0x4080 : 0x4000));
    processor.StartRecordingAdv();
    processor.StartRecordingSingleFits(0);
    frames();

    const auto at = [&](int x, int y) { return processor.decoded()[y * cam.w + x]; };
    ASSERT_EQ(at(0, 0), 0); // the stamp's black
    ASSERT_NEAR(at(220, 20), 0x4040, 2);
    ASSERT_NEAR(at(220, 21), 0x4040, 2);
    const std::string bytes(reinterpret_cast<const char*>(processor.decoded()), 2 * pixels.size());
    EXPECT_NE(recording().find(bytes), std::string::npos);
    EXPECT_EQ(pixelInFile(filesIn("fits").begin()->second), 0);
    const uint32_t* stamp = sPretended.preview;
    EXPECT_GT(std::count(stamp, stamp + 16 * cam.w, 0xFFFFFFu), 100); // white, and not marked for overflow
}

TEST_F(FrameRecording, LossesAreThoseBetweenTheRecordedFrames)
{
    for (const uint32_t id : {11, 16, 19, 20}) { // those before the first frame of the recording are not its own
        overlay.u32(36, id);
        frames();
        if (id == 11)
            processor.StartRecordingAdv();
    }
    const SRecordingStatus status = readStreamStatus().recording;
    EXPECT_EQ(status.frames, 3u);
    EXPECT_EQ(status.framesLost, 2u);
    EXPECT_EQ(status.bytesWritten, 3u * 240 * 64 * 2);
    processor.StopRecording();
    EXPECT_FALSE(readStreamStatus().recording.active);
    EXPECT_EQ(readStreamStatus().recording.frames, 3u);
}

TEST_F(FrameRecording, AverageOfFramesBecomesOneFile)
{
    frames();
    for (const char kind : {'P', 'D'}) {
        ASSERT_TRUE(processor.StartRecordingAveragedFits(kind, 3));
        for (int value : {0x10, 0x20, 0x50}) { // mean 42.67, cut to 42
            EXPECT_TRUE(filesIn("fits").empty());
            overlay.byte(13, value); // the start's second
            pixel(0, 0) = static_cast<uint16_t>(value);
            frames();
        }
        frames();
        ASSERT_EQ(filesIn("fits").size(), 1u);
        const auto [path, file] = *filesIn("fits").begin();
        EXPECT_EQ(pixelInFile(file), 42);
        EXPECT_THAT(file, HasSubstr("T06:07:16.250"));
        EXPECT_THAT(file, HasSubstr(kind == 'P' ? "IMAGETYP= 'Light Frame'" : "IMAGETYP= 'Dark Frame'"));
        EXPECT_EQ(file.find("HISTORY = 'AVG_3'") == std::string::npos, kind == 'P');
        EXPECT_EQ(processor.m_processedFitsFiles.count(path), 1u);
        std::filesystem::remove(path);
    }
}

TEST_F(FrameRecording, FileThatCannotBeWrittenIsSaidOnceAndFramesGoOn)
{
    frames();
    processor.StartRecordingSingleFits(0);
    std::filesystem::remove_all("fits");
    EXPECT_EQ(saidBy([&] { frames(2); }), "The FITS file was not written: Failed to open FITS file for writing.\n");
    EXPECT_TRUE(processor.m_processedFitsFiles.empty());
}
