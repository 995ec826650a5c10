#pragma once

#include <cstdint>

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

// What follows from how the stream does. Streaming thread; the first two take the gate.

/// Brings a dead stream back while the camera is still there; a recording goes on. Does nothing when the session is
/// no longer the one in force.
/// @return true when it has started, which frames must show to have helped.
bool restartStreaming(uint64_t session);

/// The camera is gone. Nothing is stopped, for no request can reach it; what was recorded is made whole.
void cameraUnplugged();

/// A whole frame came: what was said of a dead stream or an unplugged camera holds no longer.
void streamIsAlive();
