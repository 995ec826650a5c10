#pragma once

#include "FrameGate.h"
#include <cstdint>

class FrameProcessor;

/// The single frame processor, created before main runs.
extern FrameProcessor* m_frameProcessor;

// The streaming thread.

/// Starts the thread that carries frames for the rest of the process. Main thread, once.
void createStreamingThread();

/// Lets the streaming thread set up the camera: everything that start-up sends to it has been sent. Main thread.
void releaseStreamingThread();

void* streamingThread(void* arg);
void streamingThreadInit();
int streamingThreadRun(); ///< one round; always 1

// Streaming and recording. Each takes the frame gate, and so waits for a frame in progress. Starting what runs and
// stopping what does not run do nothing; a recording is refused after the camera was unplugged. A device failure ends
// the process with status 255. Any thread.

void startStreaming();
void stopStreaming();
void startRecordingAdv();
void startRecordingFits();
void stopRecording();
void startRecordingSingleFits(int kind); ///< 0 light, 'D' dark, 'F' flat

int getIsStreaming(); ///< 1 or 0. Any thread.
int getIsRecording(); ///< 1 or 0. Any thread.

/// Tells how long the camera exposes from now on, so that a long exposure is not taken for a dead stream. Any thread.
void noteExposureTime(int ms);

/// The gate between frames and everything that must not run inside one.
FrameGate& frameGate();

// What the frame processor pushes to the window, if there is one. Streaming thread, inside a frame.

/// @param frame  preview image of the height in force, width words a row; copied before the call returns.
void renderFrameInViewer(uint32_t* frame, int width);
void invalidateHistogram();
