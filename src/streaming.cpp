#include "streaming.h"

#include "camera_control.h"
#include "FrameProcessor.h"
#include "MainWindow.h"
#include "ObriApplication.h"
#include "SharedFlag.h"
#include "StreamStatus.h"
#include "StreamWatch.h"
#include "Trouble.h"
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <string>
#include <thread>

using libobribase::loadShared;
using libobribase::storeShared;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

pthread_t sStreamingThread;
FrameGate sFrameGate;
StreamWatch sWatch;
std::atomic<bool> sStartUpDone{false};

std::atomic<bool> sUnplugged{false}; // written by the streaming thread

// Streaming thread only.
bool sSaidDead = false; // that the stream has died is said once
uint64_t sWatchedSession = 0;

void announceStreaming(bool streaming)
{
    updateStreamStatus([=](SStreamStatus& status) { status.streaming = streaming; });
}

/// A new stream on the buffers as they are. Called with the gate held.
void streamBegins()
{
    m_frameProcessor->StreamStarted();
    sFrameGate.openSession();
}

void announceCamera(bool connected)
{
    updateStreamStatus([=](SStreamStatus& status) { status.cameraConnected = connected; });
}

/// The camera is gone. Nothing is stopped, for no request can reach it; what was recorded is made whole.
void cameraUnplugged()
{
    if (sUnplugged.exchange(true)) // before the gate is taken: no recording begins behind the end of this one
        return;
    const FrameGate::Control control(sFrameGate);
    const bool recording = getIsRecording();
    sayTrouble('W', recording ? "The camera was unplugged: the recording ends here" : "The camera was unplugged");
    if (recording)
        m_frameProcessor->StopRecording();
    announceCamera(false);
}

/// Brings a dead stream back while the camera is still there; a recording goes on. True when it has started, which
/// frames must show to have helped.
bool restartStream(uint64_t session)
{
    const FrameGate::Control control(sFrameGate);
    if (sFrameGate.session() != session)
        return false;
    SVideoDevice& cam = obriCam();
    int error = cameraDeviceProbe(cam.fd);
    if (error == 0) {
        if (!sSaidDead)
            sayTrouble('W', "The stream has died: it is stopped and started again");
        sSaidDead = true;
        error = cameraDeviceRestartStreaming(cam.fd, &cam.videomem);
    }
    if (error == ENODEV)
        cameraUnplugged();
    else
        streamBegins(); // also when it failed: the next verdict takes its time again
    return error == 0;
}

/// A stream that another thread has started is judged from its own beginning.
void watchSession(uint64_t session)
{
    if (session == sWatchedSession)
        return;
    sWatchedSession = session;
    sWatch.streamStarted(Clock::now());
}

/// True when the stream has been started again, and frames may come at once.
bool act(EStreamVerdict verdict, uint64_t session)
{
    switch (verdict) {
    case EStreamVerdict::Patience:
        break;
    case EStreamVerdict::Dead:
        return restartStream(session);
    case EStreamVerdict::Unplugged:
        cameraUnplugged();
        break;
    }
    return false;
}

/// The stream is alive, whatever was said about it.
void frameCame()
{
    sWatch.frameArrived(Clock::now());
    sSaidDead = false;
    if (sUnplugged.exchange(false))
        announceCamera(true);
}

struct SDequeued {
    bool entered = false; ///< false: the frame belonged to a stream that has ended
    int error = 0;
    uint32_t bytes = 0;
};

SDequeued processFrame(uint64_t session)
{
    const FrameGate::Frame frame(sFrameGate, session);
    if (!frame)
        return {};
    SVideoDevice& cam = obriCam();
    m_frameProcessor->ProcessFrame(&cam);
    return {.entered = true, .error = cam.videomem.dequeueError, .bytes = cam.videomem.dequeuedBytes};
}

void frameIsReady(uint64_t session)
{
    const SDequeued dequeued = processFrame(session);
    if (!dequeued.entered)
        return;
    if (dequeued.error != 0) {
        // A dead descriptor is always ready: without a pause this loop would print millions of lines a second.
        if (!act(sWatch.dequeueFailed(dequeued.error), session))
            std::this_thread::sleep_for(1s);
    } else if (dequeued.bytes == 0) {
        sWatch.bufferWasEmpty();
    } else {
        frameCame();
    }
}

void noFrameCame(uint64_t session, Clock::time_point began)
{
    if (sFrameGate.session() != session)
        return;
    // A wait that fails at once must not become a busy loop; after a time-out the second has passed.
    if (!act(sWatch.timedOut(Clock::now()), session))
        std::this_thread::sleep_until(began + 1s);
}

/// A recording without a camera would have no frame. Called with the gate held.
bool isCameraThereFor(const char* recording)
{
    if (!sUnplugged.load())
        return true;
    sayTrouble('E', std::string(recording) + " was refused: the camera was unplugged");
    return false;
}

/// Signals are the main thread's: here they would only cut a wait for a frame short.
void leaveSignalsToMainThread()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

FrameGate& frameGate()
{
    return sFrameGate;
}

void createStreamingThread()
{
    pthread_create(&sStreamingThread, nullptr, streamingThread, nullptr);
}

void releaseStreamingThread()
{
    sStartUpDone.store(true);
    sStartUpDone.notify_all();
}

void* streamingThread(void*)
{
    leaveSignalsToMainThread();
    puts("Streaming thread running...");
    streamingThreadInit();
    while (streamingThreadRun()) {
    }
    return nullptr;
}

void streamingThreadInit()
{
    std::this_thread::sleep_for(3s);
    sStartUpDone.wait(false); // a slow window must not send its own format after this one
    const FrameGate::Control control(sFrameGate);
    setResolution(1624, 1240);
    startStreaming();
}

int streamingThreadRun()
{
    const uint64_t session = sFrameGate.session(); // before the wait: what it finds belongs to this stream or none
    const Clock::time_point began = Clock::now();
    watchSession(session);
    if (!getIsStreaming() || sFrameGate.isClosed())
        std::this_thread::sleep_for(1s);
    else if (cameraDeviceWaitForFrame(obriCam().fd))
        frameIsReady(session);
    else
        noFrameCame(session, began);
    return 1;
}

void startStreaming()
{
    const FrameGate::Control control(sFrameGate);
    SVideoDevice& cam = obriCam();
    if (loadShared(cam.isStreaming))
        return;
    allocateVideoMemory(cam.fd, &cam.videomem);
    mapVideoMemory(cam.fd, &cam.videomem);
    cameraDeviceStartStreaming(cam.fd);
    storeShared(cam.isStreaming, 1);
    streamBegins();
    announceStreaming(true);
}

void stopStreaming()
{
    const FrameGate::Control control(sFrameGate);
    SVideoDevice& cam = obriCam();
    if (!loadShared(cam.isStreaming))
        return;
    cameraDeviceStopStreaming(cam.fd);
    storeShared(cam.isStreaming, 0);
    sFrameGate.endSession();
    announceStreaming(false);
    unmapVideoMemory(cam.fd, &cam.videomem);
    releaseVideoMemory(cam.fd, &cam.videomem);
}

void startRecordingAdv()
{
    const FrameGate::Control control(sFrameGate);
    if (isCameraThereFor("The recording"))
        m_frameProcessor->StartRecordingAdv();
}

void startRecordingFits()
{
    const FrameGate::Control control(sFrameGate);
    if (isCameraThereFor("The recording"))
        m_frameProcessor->StartRecordingFits();
}

void stopRecording()
{
    const FrameGate::Control control(sFrameGate);
    m_frameProcessor->StopRecording();
}

void startRecordingSingleFits(int kind)
{
    const FrameGate::Control control(sFrameGate);
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

void noteExposureTime(int ms)
{
    sWatch.noteExposureTime(ms);
}

void renderFrameInViewer(uint32_t* frame, int width)
{
    if (MainWindow* window = loadShared(gMainWindow))
        window->renderPreviewFrame(frame, width, obriCam().h);
}

void invalidateHistogram()
{
    if (MainWindow* window = loadShared(gMainWindow))
        window->invalidateHistogram();
}
