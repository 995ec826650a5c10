// Recordings as the window starts and stops them, frames going through the frame processor.

#include "FrameProcessor.h"

#include "camera_control.h"
#include "device.h"
#include "FrameDevice.h"
#include "ObriVariables.h"
#include "RecordingSite.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

using testing::HasSubstr;

namespace {
constexpr int sWidth = 200, sHeight = 20;
constexpr size_t sFrameBytes = size_t{sWidth} * sHeight * 2;

std::vector<uint16_t> sRaw(2 * sFrameBytes); // what the camera sends

int dequeue(int, SVideoMemory*, void** frame)
{
    *frame = sRaw.data();
    return static_cast<int>(sRaw.size() * sizeof(uint16_t));
}
const SFrameDevice sDevice{dequeue, [](int, SVideoMemory*) {}, [](uint32_t*, int) {}, [] {}};

// Lets the test say what the overlay said, and see the sums over a recording.
class Processor : public FrameProcessor {
public:
    Processor() : FrameProcessor(sDevice)
    {
        overlay().m_fromTime = {2020, 1, 1, 0, 0, 0, 0};
        overlay().m_toTime = {2020, 1, 1, 0, 0, 0, 40};
    }
    libobribase::BinaryOverlay& overlay() { return *m_binaryOverlay; }
    uint16_t* pixels() { return decoded(); }
    int64_t firstFrameTime() const { return m_firstFrameDatetime; }
    const std::map<std::string, int>& fitsFiles() const { return m_processedFitsFiles; }
};

class RecordingControl : public testing::Test {
protected:
    RecordingControl()
    {
        cam.w = cam.wCompact = sWidth;
        cam.h = sHeight;
        for (size_t i = 0; i < sRaw.size(); ++i)
            sRaw[i] = static_cast<uint16_t>((i * 37) & 0x0FFF);
    }
    void frames(int count)
    {
        for (int i = 0; i < count; ++i)
            processor.ProcessFrame(&cam);
    }
    // What an action says on standard error.
    template <class Action>
    std::string saidBy(Action action)
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }
    static uint32_t framesIn(const std::string& advFile)
    {
        uint32_t count = 0;
        memcpy(&count, readFile(advFile).substr(40, 4).data(), 4);
        return count;
    }
    std::string pixelBytes() { return {reinterpret_cast<const char*>(processor.pixels()), sFrameBytes}; }

    RecordingSite site;
    Processor processor;
    SVideoDevice cam{};
};

const char sRefused[] = " was refused: no frame of the present image size has come yet\n";
} // namespace

TEST_F(RecordingControl, NothingIsRecordedBeforeTheFirstFrame)
{
    EXPECT_EQ(saidBy([&] { processor.StartRecordingAdv(); }), std::string("The recording") + sRefused);
    EXPECT_EQ(saidBy([&] { processor.StartRecordingFits(); }), std::string("The recording") + sRefused);
    EXPECT_EQ(saidBy([&] { processor.StartRecordingSingleFits(0); }), std::string("The FITS file") + sRefused);
    EXPECT_FALSE(processor.IsRecording());
    EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(RecordingControl, NothingIsRecordedBetweenANewImageSizeAndItsFirstFrame)
{
    frames(1);
    obriCam().w = 2 * sWidth; // chosen, but no frame has come
    obriCam().h = sHeight;
    EXPECT_EQ(saidBy([&] { processor.StartRecordingAdv(); }), std::string("The recording") + sRefused);
    obriCam().w = sWidth;
    processor.StartRecordingAdv();
    EXPECT_TRUE(processor.IsRecording());
    processor.StopRecording();
    obriCam().w = obriCam().h = 0;
}

TEST_F(RecordingControl, AdvHoldsTheFramesBetweenStartAndStop)
{
    frames(1);
    processor.StartRecordingAdv();
    EXPECT_TRUE(processor.IsRecording());
    frames(3);
    processor.StopRecording();
    processor.StopRecording();
    EXPECT_FALSE(processor.IsRecording());
    frames(1);
    EXPECT_EQ(framesIn("recording.adv"), 3U);
    const std::string file = readFile("recording.adv");
    EXPECT_NE(file.find(pixelBytes()), std::string::npos);
    EXPECT_THAT(file, HasSubstr(std::string("RECORDER-SOFTWARE\x0E\0ObriCamControl", 33)));
}

TEST_F(RecordingControl, SecondStartCompletesTheFirstRecording)
{
    frames(1);
    processor.StartRecordingAdv();
    frames(2);
    processor.StartRecordingAdv();
    frames(3);
    processor.StartRecordingFits();
    frames(1);
    processor.StopRecording();
    std::vector<uint32_t> counts;
    for (const std::string& file : filesIn("."))
        counts.push_back(framesIn(file));
    EXPECT_THAT(counts, testing::UnorderedElementsAre(2, 3));
    EXPECT_EQ(filesIn("fits").size(), 1U);
}

TEST_F(RecordingControl, EachRecordingHasItsOwnFirstTime)
{
    frames(1);
    processor.StartRecordingAdv();
    frames(2);
    const int64_t first = processor.firstFrameTime();
    processor.StopRecording();
    processor.overlay().m_fromTime.minute = 5;
    processor.StartRecordingAdv();
    frames(1);
    EXPECT_EQ(processor.firstFrameTime() - first, int64_t{5} * 60 * 10000000);
    processor.StopRecording();
}

TEST_F(RecordingControl, AdvThatCannotBeOpenedIsRefusedWithALine)
{
    std::filesystem::create_directory("recording.adv");
    frames(1);
    EXPECT_EQ(saidBy([&] { processor.StartRecordingAdv(); }),
              "The recording was refused: Failed to open recording.adv (Is a directory)\n");
    EXPECT_FALSE(processor.IsRecording());
    frames(1);
}

TEST_F(RecordingControl, FullDiskEndsTheRecordingOnceWithWholeFrames)
{
    signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{5000 + 3 * sFrameBytes, before.rlim_max};
    frames(1);
    processor.StartRecordingAdv();
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string said = saidBy([&] { frames(9); });
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(said, "The recording ends: Failed to write recording.adv (File too large)\n");
    EXPECT_FALSE(processor.IsRecording());
    EXPECT_EQ(framesIn("recording.adv"), 3U);
}

TEST_F(RecordingControl, FullDeviceIsRefusedAndStays)
{
    std::filesystem::create_symlink("/dev/full", "recording.adv");
    frames(1);
    EXPECT_EQ(saidBy([&] { processor.StartRecordingAdv(); }),
              "The recording was refused: Failed to write recording.adv (No space left on device)\n");
    EXPECT_FALSE(processor.IsRecording());
}

TEST_F(RecordingControl, ChangeOfImageSizeEndsTheRecording)
{
    frames(1);
    processor.StartRecordingAdv();
    frames(2);
    cam.h = sHeight / 2;
    EXPECT_THAT(saidBy([&] { frames(1); }), HasSubstr("The recording ends: "));
    EXPECT_FALSE(processor.IsRecording());
    EXPECT_EQ(framesIn("recording.adv"), 2U);
}

TEST_F(RecordingControl, FitsSequencesWithinOneSecondDoNotMix)
{
    frames(1);
    for (int sequence = 0; sequence < 2; ++sequence) {
        processor.StartRecordingFits();
        EXPECT_TRUE(processor.IsRecording());
        frames(3);
        processor.StopRecording();
    }
    EXPECT_EQ(filesIn("fits").size(), 6U);
    EXPECT_THAT(filesIn("fits")[0], HasSubstr("_200x20_G0_0ms_00001"));
}

TEST_F(RecordingControl, FitsDirectoryThatIsAFileIsRefused)
{
    writeFile("fits", "mine");
    frames(1);
    EXPECT_EQ(saidBy([&] { processor.StartRecordingFits(); }), "The recording was refused: fits is not a directory\n");
    EXPECT_EQ(saidBy([&] { processor.StartRecordingSingleFits(0); }),
              "The FITS file was refused: fits is not a directory\n");
    EXPECT_FALSE(processor.IsRecording());
    EXPECT_EQ(readFile("fits"), "mine");
}

TEST_F(RecordingControl, SequenceWriterThatThrowsEndsItsRecording)
{
    frames(1);
    processor.StartRecordingFits();
    std::filesystem::remove("fits");
    const std::string said = saidBy([&] { frames(3); });
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    EXPECT_THAT(said, HasSubstr("Failed to open FITS file for writing."));
    EXPECT_FALSE(processor.IsRecording());
}

TEST_F(RecordingControl, SingleFitsIsTheNextFrameAndComplete)
{
    frames(1);
    processor.overlay().m_exposureNanoseconds = 40000000;
    processor.StartRecordingSingleFits('D');
    EXPECT_EQ(saidBy([&] { processor.StartRecordingSingleFits('F'); }),
              "The FITS file was refused: the one asked for before still waits for its frame\n");
    EXPECT_TRUE(filesIn("fits").empty());
    frames(2);
    ASSERT_EQ(filesIn("fits").size(), 1U);
    EXPECT_EQ(processor.fitsFiles().count(filesIn("fits")[0]), 1U);
    const std::string file = readFile(filesIn("fits")[0]);
    EXPECT_EQ(file.size(), 2880 + (sFrameBytes + 2879) / 2880 * 2880);
    for (const char* card : {"NAXIS1  =                  200 /", "NAXIS2  =                   20 /",
                             "INSTRUME= 'OBRI+CAM'", "DATE-OBS= '2020-01-01T00:00:00.000'", "EXPTIME = '0.040000000'"})
        EXPECT_THAT(file, HasSubstr(card));
    EXPECT_EQ(file.find("IMAGETYP"), std::string::npos); // the kind is not used

    processor.StartRecordingSingleFits(0); // within the same second: a name of its own
    frames(1);
    EXPECT_EQ(filesIn("fits").size(), 2U);
}

TEST_F(RecordingControl, AttributesTellCameraAndOverlay)
{
    ObriVariables::instance().observerName = "J\xC3\xBCrg";
    ObriVariables::instance().objectName = "(1) Ceres";
    auto& overlay = processor.overlay();
    overlay.m_binningX = 2;
    overlay.m_latitudeE7 = -471234567;
    overlay.m_longitudeE7 = 85000000;
    overlay.m_altitudeMm = 432120;
    overlay.m_exposureSeconds = 1;
    overlay.m_exposureNanoseconds = 5;
    overlay.m_temperatureRaw = 0x9501; // -21 degrees
    frames(1);

    std::map<std::string, std::string> file, frame;
    processor.GetHeaderAttributes(file);
    processor.GetFrameAttributes(frame);
    const std::map<std::string, std::string> expectedFile = {{"RECORDER-SOFTWARE", "ObriCamControl"},
                                                             {"RECORDER-SOFTWARE-VERSION", "0.1-alpha1"},
                                                             {"CAMERA-VENDOR-NAME", "Kantel Optowerk GmbH"},
                                                             {"CAMERA-DRIVER-NAME", "UVC"},
                                                             {"ACQUISITION-DELAY", "0.0"},
                                                             {"COMMENT", ""},
                                                             {"AUTHOR", "J\xC3\xBCrg"},
                                                             {"OBSERVER", "J\xC3\xBCrg"},
                                                             {"TELESCOP", ""},
                                                             {"INSTRUME", "OBRI+CAM"},
                                                             {"BINNING-X", "2"},
                                                             {"BINNING-Y", "0"},
                                                             {"WIDTH", "200"},
                                                             {"HEIGHT", "20"},
                                                             {"OBJECT", "(1) Ceres"},
                                                             {"OBJNAME", "(1) Ceres"}};
    const std::map<std::string, std::string> expectedFrame = {{"LATITUDE", "-47.1234567"},
                                                              {"LONGITUDE", "8.5000000"},
                                                              {"ALTITUDE", "432.1"},
                                                              {"CCD-TEMP", "-21.0"},
                                                              {"DATE-OBS", "2020-01-01T00:00:00.000"},
                                                              {"EXPTIME", "1.000000005"}};
    EXPECT_EQ(file, expectedFile);
    EXPECT_EQ(frame, expectedFrame);
    EXPECT_EQ(processor.GetSensorTemperature(), 0x10000 - 21);

    overlay.m_temperatureRaw = 0x1500; // no reading
    frame.clear();
    processor.GetFrameAttributes(frame);
    EXPECT_EQ(frame.count("CCD-TEMP"), 0U);
    EXPECT_EQ(processor.GetSensorTemperature(), 0);
    ObriVariables::instance().observerName = ObriVariables::instance().objectName = "";
}
