// What reaches a recording, and the averaged FITS files.

#include "FrameProcessorSite.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

using Image = std::vector<uint16_t>;

/// Keeps what it was given.
class KeepingWriter : public libobrifile::BaseWriter {
public:
    KeepingWriter(FrameProcessor* provider, std::vector<Image>* images) : BaseWriter(provider), m_images(images)
    {
        m_recording = true;
    }
    std::string GetFormatName() override { return "kept"; }
    void StopRecording() override { m_recording = false; }

protected:
    void OnRecordHeader() override {}
    void OnRecordFrame(uint8_t* data, uint64_t length, uint64_t) override
    {
        const auto* words = reinterpret_cast<const uint16_t*>(data);
        m_images->emplace_back(words, words + length / 2);
    }
    void OnRecordTrailer() override {}

private:
    std::vector<Image>* m_images;
};

class FrameRecording : public FrameProcessorSite {
protected:
    void record() { processor.recordingBegan(new KeepingWriter(&processor, &images), "kept.bin"); }
    // Pixel (0, 0) lies in the last row of the file's image, with the top bit inverted and high byte first.
    int pixelInFile(const std::string& file) const
    {
        const size_t at = 2880 + (pixels.size() - static_cast<size_t>(cam.w)) * 2;
        return (static_cast<uint8_t>(file[at]) << 8 | static_cast<uint8_t>(file[at + 1])) ^ 0x8000;
    }

    std::vector<Image> images;
};

} // namespace

TEST_F(FrameRecording, GoesOnWhenAnotherStepFails)
{
    frame();
    record();
    sPretended.previewFails = true;
    EXPECT_EQ(saidBy([&] { frames(2); }), "Frame processing failed: std::bad_alloc\n");
    EXPECT_TRUE(processor.IsRecording());
    EXPECT_EQ(images.size(), 2u);
    EXPECT_EQ(sPretended.released, 3);
}

// A frame that one of them took before its corrections would differ from what the others have.
TEST_F(FrameRecording, EveryTakerGetsTheCorrectedAndStampedFrame)
{
    frame();
    cam.applyNoiseCorrection = cam.showPcTime = 1;
    processor.SetShowPixelOverflow(true);
    for (int y = 0; y < cam.h; ++y)
        std::fill_n(&pixel(0, y), cam.w, static_cast<uint16_t>(y % 2 ? 0x4080 : 0x4000));
    record();
    processor.StartRecordingSingleFits(0);
    frame();

    const auto at = [&](int x, int y) { return processor.decoded()[y * cam.w + x]; };
    ASSERT_EQ(at(0, 0), 0); // the stamp's black
    ASSERT_NEAR(at(220, 20), 0x4040, 2);
    ASSERT_NEAR(at(220, 21), 0x4040, 2);
    EXPECT_EQ(images.at(0), Image(&processor.decoded()[0], &processor.decoded()[cam.w * cam.h]));
    EXPECT_EQ(pixelInFile(readFile(filesIn("fits").at(0))), 0);
    const auto stamp = sPretended.preview.begin();
    EXPECT_GT(std::count(stamp, stamp + 16 * cam.w, 0xFFFFFFu), 100); // white, and not marked for overflow
}

TEST_F(FrameRecording, LossesAreThoseBetweenTheRecordedFrames)
{
    uint32_t id = 10;
    const auto frameAfter = [&](uint32_t by) {
        overlay.u32(36, id += by);
        frame();
    };
    frameAfter(1);
    record();
    frameAfter(5); // lost before the first frame of the recording
    frameAfter(3);
    frameAfter(1);
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
    const std::pair<char, const char*> kinds[] = {{'P', "'Light Frame'"}, {'D', "'Dark Frame'"}, {'F', "'Flat Frame'"}};
    for (const auto& [kind, type] : kinds) {
        frame();
        ASSERT_TRUE(processor.StartRecordingAveragedFits(kind, 3));
        for (int value : {0x10, 0x20, 0x50}) { // mean 42.67, cut to 42
            EXPECT_TRUE(filesIn("fits").empty());
            overlay.byte(13, value); // the start's second
            pixel(0, 0) = static_cast<uint16_t>(value);
            frame();
        }
        ASSERT_EQ(filesIn("fits").size(), 1u);
        const std::string file = readFile(filesIn("fits")[0]);
        EXPECT_EQ(pixelInFile(file), 42);
        EXPECT_THAT(file, HasSubstr("T06:07:16.250"));
        EXPECT_THAT(file, HasSubstr(std::string("IMAGETYP= ") + type));
        EXPECT_EQ(countOf(file, "HISTORY = 'AVG_3'"), kind == 'P' ? 0 : 1);
        EXPECT_EQ(processor.m_processedFitsFiles.count(filesIn("fits")[0]), 1u);
        frame();
        ASSERT_EQ(filesIn("fits").size(), 1u);
        std::filesystem::remove(filesIn("fits")[0]);
    }
}

TEST_F(FrameRecording, FileThatCannotBeWrittenIsSaidOnceAndFramesGoOn)
{
    frame();
    processor.StartRecordingSingleFits(0);
    std::filesystem::remove_all("fits");
    const std::string said = saidBy([&] { frames(2); });
    EXPECT_EQ(countOf(said, "\n"), 1) << said;
    EXPECT_THAT(said, HasSubstr("The FITS file was not written: Failed to open FITS file for writing."));
    EXPECT_TRUE(processor.m_processedFitsFiles.empty());
}
