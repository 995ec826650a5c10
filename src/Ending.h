#pragma once

/// Status of a process that a device failure has ended.
constexpr int sFailureStatus = 255;

/// What the ending owes the parts of the program that stand above it. Called once at most, on the thread that ends,
/// with the frame gate held. Null: nothing to do.
struct SEndingDuties {
    void (*finaliseRecordings)();
    void (*leaveCamera)(); ///< out of the program's control; must not fail
};

/// Main thread, before the streaming thread exists.
void setEndingDuties(const SEndingDuties& duties);

/// The one way in which a process with an open camera ends: finalises recordings, takes the camera out of control
/// mode, writes the log's closing line, flushes, and ends with the status.
///
/// Static objects are not destroyed, because the other thread may be using them. Callers that come second wait for
/// the end. Any thread, with or without the frame gate; waits for a frame in progress.
[[noreturn]] void endProcess(int status);

/// Ends the process likewise on SIGINT, SIGTERM and SIGHUP, with status 128 + signal number, and keeps a closed
/// terminal or a file size limit from killing it. Main thread, once, for a program with a window and its main loop.
void endOnSignals();

/// Ends the process likewise, with status 1, when the X server goes away. Main thread, once the display is open.
void endOnLostDisplay();
