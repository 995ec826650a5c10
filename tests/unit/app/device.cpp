#include "device.h"

#include "camera_control.h"
#include "util.h"
#include <cerrno>
#include <cstdarg>
#include <gtest/gtest.h>
#include <libv4l2.h>
#include <linux/uvcvideo.h>
#include <vector>

namespace {
using Commands = std::vector<std::vector<uint8_t>>;

int sError = ENODEV, sRequests = 0;
Commands sCommands;
} // namespace

/// Stands in for libv4l2's in this test program: a camera that takes commands of the extension unit, or refuses
/// everything with an error.
extern "C" int v4l2_ioctl(int, unsigned long request, ...)
{
    ++sRequests;
    if ((errno = sError) != 0)
        return -1;
    va_list arguments;
    va_start(arguments, request);
    const auto* query = va_arg(arguments, const uvc_xu_control_query*);
    va_end(arguments);
    sCommands.emplace_back(query->data, query->data + query->size);
    return 0;
}

TEST(RetryPolicy, RepeatsAllButTheTransientErrors)
{
    const std::pair<int, int> cases[] = {{EAGAIN, 1}, {EINTR, 1}, {ETIMEDOUT, 1}, {EBUSY, 5}, {ENODEV, 5}, {EIO, 5}};
    for (const auto& [error, attempts] : cases) {
        sError = error;
        sRequests = 0;
        EXPECT_LT(v4l2IoctlWithRetry(0, requestCode(VIDIOC_STREAMON), nullptr), 0);
        EXPECT_EQ(errno, error);
        EXPECT_EQ(sRequests, attempts) << error;
    }
}

TEST(FatalFailure, SaysWhatAndEndsWithStatus255)
{
    sError = ENODEV;
    SVideoMemory memory{};
    EXPECT_EXIT(allocateVideoMemory(0, &memory), testing::ExitedWithCode(255), " allocation failed, exiting... ");
    EXPECT_EXIT(releaseVideoMemory(0, &memory), testing::ExitedWithCode(255), "deallocation failed, exiting... ");
    EXPECT_EXIT(cameraDeviceStopStreaming(0), testing::ExitedWithCode(255),
                "Failed to start streaming, exiting... \\(No such device\\)\n");
    EXPECT_EXIT(initCameraDevice("/dev/no-camera"), testing::ExitedWithCode(255),
                "Camera initialization failed, exiting \\(No such file or directory\\)...\n");
}

TEST(CameraCommands, SayAndSend)
{
    const std::tuple<void (*)(), Commands, const char*> cases[] = {
        {[] { setObriMode(7); }, {{0x70, 1, 0, 0, 0}}, "setObriMode: en=7\n"},
        {[] { setExposureTime(1000); }, {{0x69, 0x03, 0xE8, 0, 0}}, "setExposureTime: ms=1000\n"},
        {[] { setExposureTime(-1); }, {{0x69, 0, 0xFF, 0, 0}}, "setExposureTime: ms=-1\n"},
        {[] { setGain(257); }, {{0x6E, 1, 0, 0, 0}}, "setGain: dB=257\n"},
        {[] { setBlackLevel(300); }, {{0x68, 0x01, 0x2C, 0, 0}}, "setBlackLevel: blackLevel=300\n"},
        {[] { setInvertMode(2); }, {{0x6A, 1, 0, 0, 0}}, "setInvertMode: active=2\n"},
        {[] { setFlipMode(7); }, {{0x6D, 3, 0, 0, 0}}, "setFlipMode: m=7\n"},
        {[] { setFpnMode(1); }, {}, "setFpnMode: active=1\n"},
        {[] { setShowPcTime(1); }, {}, "setShowPcTime: active=1\n"},
        {[] { setOverlayMode(3); }, {{0, 1, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=3\n"},
        {[] { setOverlayMode(-1); }, {{0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}}, "setOverlayMode: m=-1\n"}};
    sError = 0;
    for (const auto& [call, commands, line] : cases) {
        sCommands.clear();
        testing::internal::CaptureStdout();
        call();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), line);
        EXPECT_EQ(sCommands, commands) << line;
    }
    sError = ENODEV;
}
