#pragma once

/// Starts the thread that carries frames for the rest of the process. Main thread, once.
void createStreamingThread();

/// Lets the streaming thread set up the camera: everything that start-up sends to it has been sent. Main thread.
void releaseStreamingThread();

// What it runs.
void* streamingThread(void* arg);
void streamingThreadInit();
int streamingThreadRun(); ///< one round; always 1
