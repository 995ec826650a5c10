#pragma once

#include "StreamStatus.h"

#include <cstdint>
#include <string>

// What the window says about camera and recording: plain functions, no GTK. Any thread.

/// Room for a recording where the program writes its files.
struct SDiskRoom {
    bool known = false;
    uint64_t freeBytes = 0;
    uint64_t fileSizeLimit = 0; ///< bytes that one file may have; 0: no limit
};

/// Asks the file system of a folder (FAT holds no file of 4 GiB) and the process's limits.
SDiskRoom readDiskRoom(const char* folder);

std::string cameraText(const SStreamStatus& status); ///< the camera's name, or "Not connected"
/// Fix, satellites, temperature; "Status" before a frame came, "Not streaming" when no more come.
std::string gpsText(const SStreamStatus& status);
std::string countersText(const SStreamStatus& status); ///< frames, overlay errors, two lines; "Error counter" before

/// Frames, seconds, file, frames lost, free space and minutes left of an active recording, in one line.
std::string recordingText(const SRecordingStatus& recording, const SDiskRoom& room);

/// What endangers a recording, most pressing first; empty when nothing does.
std::string warningText(const SStreamStatus& status, const SDiskRoom& room);

/// What a recording that has ended came to, for the log.
std::string totalsText(const SRecordingStatus& recording);

/// Minutes until the present rate has filled the room; negative when that cannot be said.
double minutesLeft(const SRecordingStatus& recording, const SDiskRoom& room);
