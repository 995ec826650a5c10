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
    status.recording.active = true;
    status.recording.format = "ADV";
    status.recording.file = "recording.adv";
    status.recording.frames = 1200;
    status.recording.framesLost = 1;
    status.recording.seconds = 95.4;
    status.recording.bytesWritten = 4 * sGigabyte;
    status.recording.bytesPerSecond = 50e6;
    return status;
}

SDiskRoom room(uint64_t freeBytes, uint64_t limit = 0)
{
    return {true, freeBytes, limit};
}

TEST(StatusTexts, BeginAsPlaceholdersAndThenTellTheTruth)
{
    EXPECT_EQ(gpsText({}), "Status");
    EXPECT_EQ(countersText({}), "Error counter");
    SStreamStatus status = fullStatus();
    EXPECT_EQ(gpsText(status), "GPS fix, 9 satellites, -7 °C");
    EXPECT_EQ(countersText(status), "1234 frames, 2 lost,\n1 overlay error");
    status.fixState = 0;
    status.satellites = 1;
    status.temperatureValid = false;
    EXPECT_EQ(gpsText(status), "No GPS fix, 1 satellite");
    status.fixState = 1;
    EXPECT_EQ(gpsText(status), "GPS fix incomplete (1), 1 satellite");
    status.cameraConnected = false; // what the last frame said is the past's
    EXPECT_EQ(gpsText(status), "Not streaming");
}

TEST(StatusTexts, ARecordingSaysHowLongItCanGoOn)
{
    const auto status = fullStatus().recording;
    EXPECT_EQ(recordingText(status, room(90 * sGigabyte)),
              "recording.adv: 1200 frames, 95 s, 1 lost, 90.0 GB free, 30 min left");
    EXPECT_THAT(recordingText(status, room(90 * sGigabyte, 5 * sGigabyte)), HasSubstr("less than a minute"))
        << "the file may grow by 1 GB only";
    EXPECT_EQ(recordingText(status, SDiskRoom{}), "recording.adv: 1200 frames, 95 s, 1 lost");
}

TEST(RecordingRate, FollowsAChangeOfTheExposure)
{
    RecordingRate rate;
    SRecordingStatus recording;
    EXPECT_EQ(rate.at(recording), 0);
    const auto record = [&](int seconds, uint64_t bytesPerSecond) {
        while (seconds-- > 0) {
            recording.seconds += 1;
            recording.bytesWritten += bytesPerSecond;
            rate.at(recording);
        }
        return rate.at(recording);
    };
    EXPECT_DOUBLE_EQ(record(600, 1000), 1000);
    EXPECT_DOUBLE_EQ(record(15, 50'000), (15 * 1000 + 15 * 50'000) / 30.0);
    EXPECT_DOUBLE_EQ(record(15, 50'000), 50'000);
    recording = {};
    EXPECT_EQ(rate.at(recording), 0) << "another recording";
    EXPECT_DOUBLE_EQ(record(1, 70), 70);
}

TEST(StatusTexts, WarnOfWhatEndangersARecordingOnly)
{
    auto status = fullStatus();
    EXPECT_EQ(warningText(status, room(90 * sGigabyte)), "");
    EXPECT_EQ(warningText(status, room(12 * sGigabyte)), "Disk space is short: 4 min left");
    EXPECT_EQ(warningText(status, room(90 * sGigabyte, 7 * sGigabyte)), "The file size limit is near: 1 min left");
    status.timeValid = false;
    EXPECT_EQ(warningText(status, room(12 * sGigabyte)), "Disk space is short: 4 min left; Camera time is not valid");
    status.recording.format = "FITS-Sequence"; // a file for each frame: the limit is far
    EXPECT_EQ(warningText(status, room(90 * sGigabyte, 7 * sGigabyte)), "Camera time is not valid");
    status.recording.active = false;
    EXPECT_THAT(warningText(status, room(sGigabyte)), HasSubstr("Disk space is short: 1.0 GB free"));
    EXPECT_EQ(warningText(SStreamStatus{}, room(90 * sGigabyte)), "") << "no frame yet, no time to be valid";
}

class Status : public WindowTest {
protected:
    bool says(const char* id, const std::string& text)
    {
        return waitUntil([&] { return find<Gtk::Label>(id).get_text().raw().find(text) != std::string::npos; });
    }
};

TEST_F(Status, LabelsFollowTheCamera)
{
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
