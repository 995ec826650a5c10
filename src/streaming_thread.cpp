#include "streaming_thread.h"

#include "camera_control.h"
#include "FrameGate.h"
#include "FrameProcessor.h"
#include "ObriCam.h"
#include "streaming.h"
#include "StreamWatch.h"
#include "ThreadPriority.h"
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <pthread.h>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

pthread_t sStreamingThread;
std::atomic<bool> sStartUpDone{false};
uint64_t sWatchedSession = 0; // streaming thread

/// A stream that another thread has started is judged from its own beginning.
void watchSession(uint64_t session)
{
    if (session == sWatchedSession)
        return;
    sWatchedSession = session;
    streamWatch().streamStarted(Clock::now());
}

/// True when the stream has been started again, and frames may come at once.
bool act(EStreamVerdict verdict, uint64_t session)
{
    switch (verdict) {
    case EStreamVerdict::Patience:
        break;
    case EStreamVerdict::Dead:
        return restartStreaming(session);
    case EStreamVerdict::Unplugged:
        cameraUnplugged();
        break;
    }
    return false;
}

/// The stream is alive, whatever was said about it.
void frameCame()
{
    streamWatch().frameArrived(Clock::now());
    streamIsAlive();
}

struct SDequeued {
    bool entered = false; ///< false: the frame belonged to a stream that has ended
    int error = 0;
    uint32_t bytes = 0;
};

SDequeued processFrame(uint64_t session)
{
    const FrameGate::Frame frame(frameGate(), session);
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
        if (!act(streamWatch().dequeueFailed(dequeued.error), session))
            std::this_thread::sleep_for(1s);
    } else if (dequeued.bytes == 0) {
        streamWatch().bufferWasEmpty();
    } else {
        frameCame();
    }
}

void noFrameCame(uint64_t session, Clock::time_point began)
{
    if (frameGate().session() != session)
        return;
    // A wait that fails at once must not become a busy loop; after a time-out the second has passed.
    if (!act(streamWatch().timedOut(Clock::now()), session))
        std::this_thread::sleep_until(began + 1s);
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
    pthread_setname_np(pthread_self(), "streaming");
    leaveSignalsToMainThread();
    raiseThreadPriority(); // the camera has five buffers, so a processor that comes late costs frames
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
    const FrameGate::Control control(frameGate());
    setResolution(1624, 1240);
    startStreaming();
}

int streamingThreadRun()
{
    const uint64_t session = frameGate().session(); // before the wait: what it finds belongs to this stream or none
    const Clock::time_point began = Clock::now();
    watchSession(session);
    if (!getIsStreaming() || frameGate().isClosed())
        std::this_thread::sleep_for(1s);
    else if (cameraDeviceWaitForFrame(obriCam().fd))
        frameIsReady(session);
    else
        noFrameCame(session, began);
    return 1;
}
