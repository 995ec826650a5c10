#include "RecordingRate.h"
#include "StatusViewTexts.h"
#include "WindowTest.h"

using testing::HasSubstr;

namespace {

constexpr uint64_t sGigabyte = 1'000'000'000;

/// Of a camera that records.
SStreamStatus fullStatus()
{
    SStreamStatus status;
    status.cameraConnected = status.streaming = status.timeValid = status.temperatureValid = true;
    status.cameraName = "OBRI+CAM 42";
    status.framesSeen = 1234;
    status.framesLost = 2;
    status.overlayErrors = 1;
    status.fixState = 3;
    status.satellites = 9;
    status.temperature = -7;
    status.recording = {true, "ADV", "recording.adv", 1200, 1, 95.4, 4 * sGigabyte, 0, 50e6};
    return status;
}

TEST(StatusTexts, BeginAsPlaceholdersAndThenTellTheTruth)
{
    EXPECT_EQ(gpsText({}), "Status");
    EXPECT_EQ(countersText({}), "Error counter");
    SStreamStatus status = fullStatus();
    EXPECT_EQ(gpsText(status), "GPS fix, 9 satellites, -7 °C");
    EXPECT_EQ(countersText(status), "1234 frames, 2 lost,\n1 overlay error");
    status.fixState = 1;
    status.satellites = 1;
    status.temperatureValid = false;
    EXPECT_EQ(gpsText(status), "GPS fix incomplete (1), 1 satellite");
    status.fixState = 0;
    EXPECT_EQ(gpsText(status), "No GPS fix, 1 satellite");
    status.cameraConnected = false; // what the last frame said is the past's
    EXPECT_EQ(gpsText(status), "Not streaming");
}

TEST(StatusTexts, ARecordingSaysHowLongItCanGoOnAndWhatEndangersIt)
{
    const SDiskRoom ample{true, 90 * sGigabyte, 0}, small{true, 12 * sGigabyte, 0};
    const SDiskRoom nearLimit{true, 90 * sGigabyte, 7 * sGigabyte}; // the file may grow by 3 GB only
    SStreamStatus status = fullStatus();
    const std::string recorded = "recording.adv: 1200 frames, 95 s, 1 lost";
    EXPECT_EQ(recordingText(status.recording, ample), recorded + ", 90.0 GB free, 30 min left");
    EXPECT_EQ(recordingText(status.recording, nearLimit), recorded + ", 90.0 GB free, 1 min left");
    EXPECT_EQ(recordingText(status.recording, {}), recorded);

    EXPECT_EQ(warningText(status, ample), "");
    EXPECT_EQ(warningText(status, nearLimit), "The file size limit is near: 1 min left");
    status.timeValid = false;
    EXPECT_EQ(warningText(status, small), "Disk space is short: 4 min left; Camera time is not valid");
    status.recording.format = "FITS-Sequence"; // a file for each frame: the limit is far
    EXPECT_EQ(warningText(status, nearLimit), "Camera time is not valid");
    status.recording.active = false;
    EXPECT_THAT(warningText(status, {true, sGigabyte, 0}), HasSubstr("Disk space is short: 1.0 GB free"));
    EXPECT_EQ(warningText({}, ample), "") << "no frame yet, no time to be valid";
}

TEST(RecordingRate, FollowsAChangeOfTheExposure)
{
    RecordingRate rate;
    SRecordingStatus recording;
    for (int second = 1; second <= 615; ++second) {
        recording.seconds = second;
        recording.bytesWritten += second <= 600 ? 1000 : 50'000;
        rate.at(recording);
    }
    EXPECT_DOUBLE_EQ(rate.at(recording), (15 * 1000 + 15 * 50'000) / 30.0);
    EXPECT_EQ(rate.at({}), 0) << "another recording";
}

TEST_F(WindowTest, LabelsFollowTheCamera)
{
    const auto says = [&](const char* id, const char* text) {
        return waitUntil([&] { return find<Gtk::Label>(id).get_text().raw().find(text) != std::string::npos; });
    };
    EXPECT_TRUE(says("lblCamera", "Not connected"));
    auto status = fullStatus();
    status.timeValid = false;
    updateStreamStatus([&](SStreamStatus& all) { all = status; });
    camera.recording = 1;
    reportTrouble("Writing recording.adv failed (No space left on device)");
    EXPECT_TRUE(says("lblCamera", "OBRI+CAM 42"));
    EXPECT_TRUE(says("lblStatus", "9 satellites"));
    EXPECT_TRUE(says("lblErrorCounter", "1 overlay error"));
    EXPECT_TRUE(says("lblRecording", "REC  recording.adv: 1200 frames"));
    EXPECT_TRUE(says("lblWarning", "No space left on device); Camera time is not valid"));
}

} // namespace
