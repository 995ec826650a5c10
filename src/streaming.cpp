#include "streaming.h"

#include "FrameGate.h"
#include "FrameProcessor.h"
#include "ObriCam.h"
#include "SharedFlag.h"
#include "StreamStatus.h"
#include "Trouble.h"
#include <atomic>
#include <cerrno>
#include <string>

using libobribase::loadShared;
using libobribase::storeShared;

namespace {

std::atomic<bool> sUnplugged{false}; // written by the streaming thread
bool sSaidDead = false;              // that the stream has died is said once; streaming thread

void announceStreaming(bool streaming)
{
    updateStreamStatus([=](SStreamStatus& status) { status.streaming = streaming; });
}

void announceCamera(bool connected)
{
    updateStreamStatus([=](SStreamStatus& status) { status.cameraConnected = connected; });
}

/// A recording without a camera would have no frame. Called with the gate held.
bool isCameraThereFor(const char* recording)
{
    if (!sUnplugged.load())
        return true;
    sayTrouble('E', std::string(recording) + " was refused: the camera was unplugged");
    return false;
}

} // namespace

void startStreaming()
{
    const FrameGate::Control control(frameGate());
    SVideoDevice& cam = obriCam();
    if (loadShared(cam.isStreaming))
        return;
    allocateVideoMemory(cam.fd, &cam.videomem);
    mapVideoMemory(cam.fd, &cam.videomem);
    cameraDeviceStartStreaming(cam.fd);
    storeShared(cam.isStreaming, 1);
    m_frameProcessor->StreamStarted();
    frameGate().openSession();
    announceStreaming(true);
}

void stopStreaming()
{
    const FrameGate::Control control(frameGate());
    SVideoDevice& cam = obriCam();
    if (!loadShared(cam.isStreaming))
        return;
    cameraDeviceStopStreaming(cam.fd);
    storeShared(cam.isStreaming, 0);
    frameGate().endSession();
    announceStreaming(false);
    unmapVideoMemory(cam.fd, &cam.videomem);
    releaseVideoMemory(cam.fd, &cam.videomem);
}

void startRecordingAdv()
{
    const FrameGate::Control control(frameGate());
    if (isCameraThereFor("The recording"))
        m_frameProcessor->StartRecordingAdv();
}

void startRecordingFits()
{
    const FrameGate::Control control(frameGate());
    if (isCameraThereFor("The recording"))
        m_frameProcessor->StartRecordingFits();
}

void stopRecording()
{
    const FrameGate::Control control(frameGate());
    m_frameProcessor->StopRecording();
}

void startRecordingSingleFits(int kind)
{
    const FrameGate::Control control(frameGate());
    if (isCameraThereFor("The FITS file"))
        m_frameProcessor->StartRecordingSingleFits(static_cast<char>(kind));
}

int getIsStreaming()
{
    return loadShared(obriCam().isStreaming) != 0;
}

int getIsRecording()
{
    return m_frameProcessor && m_frameProcessor->IsRecording();
}

bool restartStreaming(uint64_t session)
{
    const FrameGate::Control control(frameGate());
    if (frameGate().session() != session)
        return false;
    SVideoDevice& cam = obriCam();
    int error = cameraDeviceProbe(cam.fd);
    if (error == 0) {
        if (!sSaidDead)
            sayTrouble('W', "The stream has died: it is stopped and started again");
        sSaidDead = true;
        error = cameraDeviceRestartStreaming(cam.fd, &cam.videomem);
    }
    // Another session, but for the counter of frames the same stream: what the camera counted meanwhile is lost.
    if (error == ENODEV)
        cameraUnplugged();
    else
        frameGate().openSession(); // also when it failed: the next verdict takes its time again
    return error == 0;
}

void cameraUnplugged()
{
    if (sUnplugged.exchange(true)) // before the gate is taken: no recording begins behind the end of this one
        return;
    const FrameGate::Control control(frameGate());
    const bool recording = getIsRecording();
    sayTrouble('W', recording ? "The camera was unplugged: the recording ends here" : "The camera was unplugged");
    if (recording)
        m_frameProcessor->StopRecording();
    announceCamera(false);
}

void streamIsAlive()
{
    sSaidDead = false;
    if (sUnplugged.exchange(false))
        announceCamera(true);
}
