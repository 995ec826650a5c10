#pragma once

#include <cstdint>
#include <functional>
#include <string>

/// What an active (or the last) recording has done so far.
struct SRecordingStatus {
    bool active = false;
    std::string format;         ///< the writer's format name
    std::string file;           ///< path of the file, or of the sequence's first file
    uint64_t frames = 0;        ///< frames written
    uint64_t framesLost = 0;    ///< gaps in the camera's counter since the recording began
    double seconds = 0;         ///< since the recording began
    uint64_t bytesWritten = 0;  ///< frames times bytesPerFrame
    uint64_t bytesPerFrame = 0; ///< pixels of one frame, uncompressed
    double bytesPerSecond = 0;  ///< at present: the window's to work out (RecordingRate)
};

/// What the window shows of camera and stream: one consistent copy, whatever the streaming thread is doing.
struct SStreamStatus {
    bool cameraConnected = false;
    std::string cameraName;
    bool streaming = false;

    uint64_t framesSeen = 0;    ///< whole frames processed since the program began
    uint64_t framesLost = 0;    ///< gaps in the camera's own counter within streams, since the program began
    uint64_t overlayErrors = 0; ///< frames whose overlay could not be read, since the program began
    std::string overlayText;    ///< the last overlay that could be read, in one line; not shown yet

    bool timeValid = false; ///< the latest frame carries GPS times
    int fixState = 0;
    int satellites = 0;
    bool temperatureValid = false;
    int temperature = 0; ///< whole degrees Celsius

    SRecordingStatus recording;

    std::string lastTrouble;    ///< the latest thing that went wrong, in one line; empty when nothing did
    uint64_t troublesSoFar = 0; ///< tells the same trouble again from the one before
};

/// A copy of the status. Any thread.
SStreamStatus readStreamStatus();

/// Changes the status under its lock; the function must be short and call nothing of this header. Any thread.
void updateStreamStatus(const std::function<void(SStreamStatus&)>& change);

/// Notes what went wrong, for the window; writes nothing anywhere else. Any thread.
void reportTrouble(const std::string& line);
