// Recordings as the window starts and stops them, frames going through the frame processor.

#include "FrameProcessorSite.h"

#include "ObriCam.h"
#include "ObriVariables.h"

using testing::HasSubstr;

using RecordingControl = FrameProcessorSite;

TEST_F(RecordingControl, NothingIsRecordedWithoutAFrameOfThePresentSize)
{
    const std::string refused = " was refused: no frame of the present image size has come yet\n";
    const auto startAll = [&] {
        processor.StartRecordingAdv();
        processor.StartRecordingFits();
        processor.StartRecordingSingleFits(0);
    };
    EXPECT_EQ(saidBy(startAll), "The recording" + refused + "The recording" + refused + "The FITS file" + refused);
    frames();
    obriCam().w = 480; // chosen, but no frame has come
    obriCam().h = 64;
    EXPECT_NE(saidBy(startAll), "");
    EXPECT_TRUE(std::filesystem::is_empty("."));
    obriCam().w = obriCam().h = 0;
}

TEST_F(RecordingControl, SecondStartOrAnotherImageSizeCompletesTheRecording)
{
    frames();
    processor.StartRecordingAdv();
    frames(2);
    processor.StartRecordingAdv();
    frames(3);
    processor.StartRecordingFits();
    std::string counts;
    for (const auto& [path, text] : filesIn("."))
        counts += text.substr(40, 4);
    EXPECT_THAT(counts, testing::UnorderedElementsAre(2, 0, 0, 0, 3, 0, 0, 0));
    frames();
    setSize(240, 32);
    EXPECT_THAT(saidBy([&] { frames(); }), HasSubstr("The recording ends: "));
    EXPECT_FALSE(processor.IsRecording());
    EXPECT_EQ(filesIn("fits").size(), 1u);
}

TEST_F(RecordingControl, SingleFitsIsTheNextFrameAndDoesNotMixWithASequenceOfTheSecond)
{
    const auto start = [&] { processor.StartRecordingSingleFits('D'); };
    frames();
    for (int sequence = 0; sequence < 2; ++sequence) {
        processor.StartRecordingFits();
        frames(3);
        processor.StopRecording();
        EXPECT_EQ(saidBy(start), "");
        EXPECT_EQ(saidBy(start), "The FITS file was refused: the one asked for before still waits for its frame\n");
        frames(2);
    }
    EXPECT_EQ(filesIn("fits").size(), 8u);
    std::filesystem::remove_all("fits");
    std::ofstream("fits") << "mine";
    EXPECT_EQ(saidBy(start), "The FITS file was refused: fits is not a directory\n");
}

TEST_F(RecordingControl, AttributesTellCameraAndOverlay)
{
    ObriVariables::instance().observerName = "J\xC3\xBCrg";
    ObriVariables::instance().objectName = "(1) Ceres";
    overlay.byte(74, 1);
    overlay.u32(64, static_cast<uint32_t>(-471234567));
    overlay.u32(68, 85000000);
    overlay.u32(76, 432120);
    frames();
    auto& read = *processor.m_binaryOverlay;
    read.m_exposureSeconds = 1;
    read.m_exposureNanoseconds = 5;
    read.m_temperatureRaw = 0x9501; // -21 degrees

    using Attributes = std::map<std::string, std::string>;
    Attributes file, frame;
    processor.GetHeaderAttributes(file);
    processor.GetFrameAttributes(frame);
    const Attributes ofTheNight = {
        {"AUTHOR", "J\xC3\xBCrg"}, {"OBSERVER", "J\xC3\xBCrg"}, {"TELESCOP", ""}, {"OBJECT", "(1) Ceres"},
        {"OBJNAME", "(1) Ceres"},  {"BINNING-X", "1"},          {"WIDTH", "240"}, {"HEIGHT", "64"}};
    for (const auto& one : ofTheNight)
        EXPECT_THAT(file, testing::Contains(one));
    EXPECT_EQ(file.size(), 16u);
    EXPECT_EQ(frame, (Attributes{{"LATITUDE", "-47.1234567"},
                                 {"LONGITUDE", "8.5000000"},
                                 {"ALTITUDE", "432.1"},
                                 {"CCD-TEMP", "-21.0"},
                                 {"DATE-OBS", "2024-03-05T06:07:08.250"},
                                 {"EXPTIME", "1.000000005"}}));
    EXPECT_EQ(processor.GetSensorTemperature(), 0x10000 - 21);

    read.m_temperatureRaw = 0x1500; // no reading
    frame.clear();
    processor.GetFrameAttributes(frame);
    EXPECT_EQ(frame.count("CCD-TEMP"), 0u);
    ObriVariables::instance().observerName = ObriVariables::instance().objectName = "";
}
