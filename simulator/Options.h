#pragma once
#include "Gps.h"
#include "Schedule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace obrisim {

/// When something goes wrong: after so many good ones, so many times (0: for good).
struct SFault {
    bool enabled = false;
    int error = 0; ///< errno, for requests that fail
    int64_t after = 0, count = 0;
};

/// Everything the command line says about the simulated camera.
struct SOptions {
    // The device
    std::string name = "OBRI+CAM simulator";
    int videoNode = 0, metadataNode = 1;
    bool twoCameras = false;
    int exposureMs = 40; ///< when switched on
    // The scene
    std::string scene;
    uint64_t seed = 1;
    SOccultation occultation;
    SGpsSchedule gps;
    // Time
    bool paceByBuffers = false;
    double maxFps = 0;       ///< 0: each size's own
    int64_t startTimeNs = 0; ///< UTC since 1970; 0: the computer's clock
    // What is written down
    std::string commandLog, frameLog, keepFrames;
    // Faults
    bool noCamera = false, noPermission = false;
    SFault xuError, formatError, streamOnError, streamOffError, queueError, dequeueError, mapError;
    int grantBuffers = 0;                                               ///< 0: as many as asked for
    SFault stall, dead;                                                 ///< counted in frames of a stream
    SFault unplug, lose, shortFrame, badPreamble, badChecksum, badYear; ///< counted in frames since the start
    int year = 0;                                                       ///< for badYear
    double unplugAtS = 0; ///< seconds after the first STREAMON; 0: not by time
    double replugS = 0;   ///< seconds after the unplugging; 0: never
    // What to do
    bool help = false, printScene = false;
};

/// Reads the arguments; throws std::invalid_argument with one clear line for a wrong one.
SOptions parseOptions(const std::vector<std::string>& arguments);

/// The table of all options, ready to print.
std::string optionHelp();

} // namespace obrisim
