#pragma once

#include <string>
#include <vector>

/// A fault of the camera, and what is promised of a run that meets it.
struct SFault {
    const char* name;
    std::vector<std::string> options; ///< of the simulated camera; "AT" stands for the frame at which it happens
    double seconds;                   ///< to watch what comes of it
    std::vector<std::string> lines;   ///< begin lines of the terminal
    int status = 0;                   ///< 255: the program ends by itself
    size_t missing = 0;               ///< frames put into a buffer that are no frames to record
    bool endsRecording = false;       ///< by itself
    const char* remark = nullptr;     ///< set where numbers and times of frames are not the camera's: what they are
};

/// Those that the camera has from the start, and those that come while frames flow.
const std::vector<SFault>& startFaults();
const std::vector<SFault>& streamFaults();
