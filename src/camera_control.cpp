#include "camera_control.h"

#include "FrameGate.h"
#include "ObriCam.h"
#include "SharedFlag.h"
#include "streaming.h"
#include "StreamWatch.h"
#include "Trouble.h"
#include "util.h"
#include <atomic>
#include <cerrno>
#include <cstdio>

using libobribase::storeShared;

namespace {

constexpr int sCommandSelector = 5;

std::atomic<bool> sInObriMode{false};

void send(SCameraCommand command, int value)
{
    auto bytes = encode(command, value);
    cameraDeviceSetXu(obriCam().fd, sCommandSelector, bytes.data(), static_cast<int>(bytes.size()));
}

/// The camera packs 12-bit pixels at these widths: four pixels travel as three 16-bit words.
int driverWidth(int w)
{
    return w == 1624 ? 1218 : w == 816 ? 612 : w;
}

/// A recording has one geometry.
void endRecordingOfOtherSize(int w, int h)
{
    if (!getIsRecording() || (w == obriCam().w && h == obriCam().h))
        return;
    sayTrouble('W', "The resolution changes: the recording ends here");
    stopRecording();
}

void changeFormat(int w, int h)
{
    const int requestedWidth = driverWidth(w);
    if (cameraDeviceSetFormat(obriCam().fd, requestedWidth, h) < 0)
        endOnFailure("Format change failed, exiting...", errno);
    storeShared(obriCam().w, w);
    storeShared(obriCam().wCompact, requestedWidth);
    storeShared(obriCam().h, h);
}

} // namespace

void setObriMode(int en)
{
    printf("setObriMode: en=%d\n", en);
    send(sObriModeCommand, en);
    sInObriMode.store(en != 0);
}

void leaveObriMode()
{
    if (!sInObriMode.exchange(false))
        return;
    printf("setObriMode: en=%d\n", 0);
    auto bytes = encode(sObriModeCommand, 0);
    cameraDeviceTrySetXu(obriCam().fd, sCommandSelector, bytes.data(), static_cast<int>(bytes.size()));
}

void setResolution(int w, int h)
{
    printf("setResolution: w=%d, h=%d\n", w, h);
    const FrameGate::Control control(frameGate());
    endRecordingOfOtherSize(w, h);
    const bool wasStreaming = getIsStreaming();
    if (wasStreaming)
        stopStreaming();
    changeFormat(w, h);
    if (wasStreaming)
        startStreaming();
}

void setExposureTime(int ms)
{
    printf("setExposureTime: ms=%d\n", ms);
    send(sExposureCommand, ms);
    streamWatch().noteExposureTime(ms);
}

void setGain(int dB)
{
    printf("setGain: dB=%d\n", dB);
    send(sGainCommand, dB);
}

void setHighGain(int active)
{
    printf("setHighGain: active=%d\n", active);
    send(sHighGainCommand, active);
}

void setBlackLevel(int level)
{
    printf("setBlackLevel: blackLevel=%d\n", level);
    send(sBlackLevelCommand, level);
}

void setInvertMode(int active)
{
    printf("setInvertMode: active=%d\n", active);
    send(sInvertCommand, active);
    storeShared(obriCam().invertImage, active);
}

void setFpnMode(int active)
{
    printf("setFpnMode: active=%d\n", active);
    storeShared(obriCam().applyNoiseCorrection, active);
}

void setFlipMode(int m)
{
    printf("setFlipMode: m=%d\n", m);
    send(sFlipCommand, m);
}

void setShowPcTime(int active)
{
    printf("setShowPcTime: active=%d\n", active);
    storeShared(obriCam().showPcTime, active);
}

void setOverlayMode(int m)
{
    printf("setOverlayMode: m=%d\n", m);
    send(sFirstOverlayCommand, m == 1 || m == 3);
    send(sSecondOverlayCommand, m == 0 || m == 1);
}
