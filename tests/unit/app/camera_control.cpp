#include "camera_control.h"

#include "FakeCamera.h"
#include "streaming.h"
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

namespace {

struct SCommandCase {
    std::string name;
    std::function<void()> call;
    std::vector<FakeCamera::Command> commands;
    std::string line;
};

class CameraCommand : public testing::TestWithParam<SCommandCase> {};

} // namespace

TEST_P(CameraCommand, SaysAndSends)
{
    FakeCamera camera;
    testing::internal::CaptureStdout();
    GetParam().call();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), GetParam().line);
    EXPECT_EQ(camera.commands, GetParam().commands);
}

INSTANTIATE_TEST_SUITE_P(
    Wire, CameraCommand,
    testing::Values(
        SCommandCase{"ModeOn", [] { setObriMode(7); }, {{0x70, 1, 0, 0, 0}}, "setObriMode: en=7\n"},
        SCommandCase{"ModeOff", [] { setObriMode(0); }, {{0x70, 0, 0, 0, 0}}, "setObriMode: en=0\n"},
        SCommandCase{
            "OneSecond", [] { setExposureTime(1000); }, {{0x69, 0x03, 0xE8, 0, 0}}, "setExposureTime: ms=1000\n"},
        SCommandCase{"Gain", [] { setGain(48); }, {{0x6E, 48, 0, 0, 0}}, "setGain: dB=48\n"},
        SCommandCase{"GainIsCutToAByte", [] { setGain(257); }, {{0x6E, 1, 0, 0, 0}}, "setGain: dB=257\n"},
        SCommandCase{"HighGain", [] { setHighGain(1); }, {{0x71, 1, 0, 0, 0}}, "setHighGain: active=1\n"},
        SCommandCase{
            "BlackLevel", [] { setBlackLevel(300); }, {{0x68, 0x01, 0x2C, 0, 0}}, "setBlackLevel: blackLevel=300\n"},
        SCommandCase{"Invert", [] { setInvertMode(2); }, {{0x6A, 1, 0, 0, 0}}, "setInvertMode: active=2\n"},
        SCommandCase{"FlipIsCutToTwoBits", [] { setFlipMode(7); }, {{0x6D, 3, 0, 0, 0}}, "setFlipMode: m=7\n"},
        SCommandCase{"NoiseStaysHere", [] { setFpnMode(1); }, {}, "setFpnMode: active=1\n"},
        SCommandCase{"PcTimeStaysHere", [] { setShowPcTime(1); }, {}, "setShowPcTime: active=1\n"},
        SCommandCase{
            "Overlay0", [] { setOverlayMode(0); }, {{0, 0, 0, 0, 0}, {1, 1, 0, 0, 0}}, "setOverlayMode: m=0\n"},
        SCommandCase{
            "Overlay1", [] { setOverlayMode(1); }, {{0, 1, 0, 0, 0}, {1, 1, 0, 0, 0}}, "setOverlayMode: m=1\n"},
        SCommandCase{
            "Overlay2", [] { setOverlayMode(2); }, {{0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=2\n"},
        SCommandCase{
            "Overlay3", [] { setOverlayMode(3); }, {{0, 1, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=3\n"},
        SCommandCase{
            "OverlayElse", [] { setOverlayMode(-1); }, {{0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=-1\n"}),
    [](const auto& test) { return test.param.name; });

TEST(CameraSettings, KeepTheRawValueForTheFramePipeline)
{
    FakeCamera camera;
    setInvertMode(2), setFpnMode(3), setShowPcTime(4);
    EXPECT_EQ(obriCam().invertImage, 2);
    EXPECT_EQ(obriCam().applyNoiseCorrection, 3);
    EXPECT_EQ(obriCam().showPcTime, 4);
    setInvertMode(0), setFpnMode(0), setShowPcTime(0);
}

TEST(SetResolution, AsksTheDriverForPackedLinesWhereTheCameraPacks)
{
    struct SCase {
        int w, h, requested;
    };
    for (const auto& [w, h, requested] :
         {SCase{1624, 1240, 1218}, {1624, 128, 1218}, {176, 128, 176}, {816, 620, 612}, {408, 310, 408}}) {
        FakeCamera camera;
        setResolution(w, h);
        EXPECT_EQ(camera.formatWidth, static_cast<uint32_t>(requested));
        EXPECT_EQ(camera.formatHeight, static_cast<uint32_t>(h));
        EXPECT_EQ(camera.pixelFormat, 0x56595559u);
        EXPECT_EQ(obriCam().w, w);
        EXPECT_EQ(obriCam().wCompact, requested);
        EXPECT_EQ(obriCam().h, h);
        EXPECT_EQ(camera.requests, std::vector<uint32_t>{VIDIOC_S_FMT}) << "no stream was running";
    }
}

TEST(SetResolution, StopsAndStartsARunningStreamAroundTheChange)
{
    FakeCamera camera;
    startStreaming();
    camera.requests.clear();
    setResolution(816, 620);
    EXPECT_TRUE(getIsStreaming());
    const std::vector<uint32_t> expected{VIDIOC_STREAMOFF, VIDIOC_REQBUFS, VIDIOC_S_FMT,    VIDIOC_REQBUFS,
                                         VIDIOC_QUERYBUF,  VIDIOC_QBUF,    VIDIOC_QUERYBUF, VIDIOC_QBUF,
                                         VIDIOC_QUERYBUF,  VIDIOC_QBUF,    VIDIOC_QUERYBUF, VIDIOC_QBUF,
                                         VIDIOC_QUERYBUF,  VIDIOC_QBUF,    VIDIOC_STREAMON};
    EXPECT_EQ(camera.requests, expected);
    stopStreaming();
    EXPECT_EQ(camera.mappings, 0);
}

TEST(SetResolution, EndsTheProcessWhenTheFormatIsRefused)
{
    FakeCamera camera;
    camera.refusal[VIDIOC_S_FMT] = EBUSY;
    EXPECT_EXIT(setResolution(816, 620), testing::ExitedWithCode(255),
                "Failed to change video format \\(Device or resource busy\\)\n"
                "Format change failed, exiting... \\(Device or resource busy\\)");
}
