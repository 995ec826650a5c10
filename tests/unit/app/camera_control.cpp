#include "camera_control.h"

#include "FakeCamera.h"
#include <functional>
#include <gtest/gtest.h>

using Command = FakeCamera::Command;

TEST(CameraCommands, SayAndSend)
{
    struct SCase {
        std::function<void()> call;
        std::vector<Command> commands;
        const char* line;
    };
    const SCase cases[] = {{[] { setObriMode(7); }, {{0x70, 1, 0, 0, 0}}, "setObriMode: en=7\n"},
                           {[] { setExposureTime(1000); }, {{0x69, 0x03, 0xE8, 0, 0}}, "setExposureTime: ms=1000\n"},
                           {[] { setExposureTime(-1); }, {{0x69, 0, 0xFF, 0, 0}}, "setExposureTime: ms=-1\n"},
                           {[] { setGain(257); }, {{0x6E, 1, 0, 0, 0}}, "setGain: dB=257\n"},
                           {[] { setHighGain(1); }, {{0x71, 1, 0, 0, 0}}, "setHighGain: active=1\n"},
                           {[] { setBlackLevel(300); }, {{0x68, 0x01, 0x2C, 0, 0}}, "setBlackLevel: blackLevel=300\n"},
                           {[] { setInvertMode(2); }, {{0x6A, 1, 0, 0, 0}}, "setInvertMode: active=2\n"},
                           {[] { setFlipMode(7); }, {{0x6D, 3, 0, 0, 0}}, "setFlipMode: m=7\n"},
                           {[] { setFpnMode(1); }, {}, "setFpnMode: active=1\n"},
                           {[] { setShowPcTime(1); }, {}, "setShowPcTime: active=1\n"},
                           {[] { setOverlayMode(0); }, {{0, 0, 0, 0, 0}, {1, 1, 0, 0, 0}}, "setOverlayMode: m=0\n"},
                           {[] { setOverlayMode(1); }, {{0, 1, 0, 0, 0}, {1, 1, 0, 0, 0}}, "setOverlayMode: m=1\n"},
                           {[] { setOverlayMode(3); }, {{0, 1, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=3\n"},
                           {[] { setOverlayMode(-1); }, {{0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=-1\n"}};
    for (const auto& [call, commands, line] : cases) {
        FakeCamera camera;
        testing::internal::CaptureStdout();
        call();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), line);
        EXPECT_EQ(camera.commands, commands) << line;
    }
}
