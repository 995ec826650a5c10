#pragma once

#include <cerrno>
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

/// How long a run goes on behind its fault: the longest verdict on a dead stream takes eight seconds.
constexpr double sBriefly = 2, sLonger = 5, sUntilVerdict = 10;

constexpr const char* sTimeOut = "Could not grab image (select timeout): ";
constexpr const char* sRestart = "The stream has died: it is stopped and started again\n";
constexpr const char* sDequeue = "Failed to dequeue frame buffer... (Input/output error)\n";
constexpr const char* sEnqueue = "Failed to enqueue frame buffer... (Input/output error)\n";
constexpr const char* sNoCamera = "No OBRI+CAM found, exiting...\n";

constexpr const char* sOldTimes = "3 carry the number and times of the one before";
constexpr const char* sNoTimes = "5 carry times of 1970";

/// An error number as an option has it, perhaps with when and how often it comes.
inline std::string failing(int error, const char* when = "")
{
    return std::to_string(error) + when;
}

// clang-format off
/// Those that the camera has from the start.
const std::vector<SFault> sStartFaults = {
    {"No camera", {"--no-camera"}, 0, {sNoCamera}, 255},
    {"No permission", {"--no-permission"}, 0, {sNoCamera}, 255},
    {"Another card name", {"--name", "OBRI+CAM"}, 0, {sNoCamera}, 255},
    {"Two cameras", {"--two-cameras"}, sBriefly, {}},
    {"Metadata node first", {"--video-node", "9", "--metadata-node", "10"}, sBriefly, {}},
    {"Extension unit fails", {"--xu-error", failing(EPIPE)}, 0, {"Failed to access extension unit, exiting... (Broken pipe)\n"}, 255},
    {"Format refused", {"--format-error", failing(EIO)}, 0, {"Format change failed, exiting... (Input/output error)\n"}, 255},
    {"Four buffers granted", {"--grant-buffers", "4"}, 0, {"Request buffer querying failed, exiting... (Invalid argument)\n"}, 255},
    {"Mapping fails", {"--map-error", failing(ENOMEM)}, 0, {"Request buffer mapping failed, exiting... (Cannot allocate memory)\n"}, 255},
    {"Queueing fails", {"--qbuf-error", failing(EIO)}, 0, {"Request buffer enqueueing failed, exiting... (Input/output error)\n"}, 255},
    {"Stream does not start", {"--streamon-error", failing(ENOSPC)}, 0, {"Failed to start streaming, exiting... (No space left on device)\n"}, 255},
};

/// Those that come while frames flow.
const std::vector<SFault> sStreamFaults = {
    {"Stall of 30 frames", {"--stall", "AT,30"}, sLonger, {sTimeOut}},
    {"Stall for good", {"--stall", "AT"}, sUntilVerdict, {sTimeOut, sRestart}},
    {"Stream dies once", {"--dead", "AT,1"}, sBriefly, {sTimeOut, sRestart}},
    {"Stream dies again and again", {"--dead", "AT"}, sUntilVerdict, {sTimeOut, sRestart}},
    {"Cable pulled", {"--unplug-after", "AT"}, sLonger, {"The camera was unplugged"}, 0, 0, true},
    {"Cable pulled and plugged in again", {"--unplug-after", "AT", "--replug", "2"}, sLonger, {"The camera was unplugged"}, 0, 0, true},
    {"Three frames dropped on the way", {"--lose-frames", "AT,3"}, sBriefly, {}},
    {"Half a frame", {"--short-frame", "AT,1"}, sBriefly, {"A short frame counts as no frame: "}, 0, 1},
    {"Overlay without preamble", {"--bad-preamble", "AT,3"}, sBriefly, {}, 0, 0, false, sOldTimes},
    {"Overlay with a wrong checksum", {"--bad-checksum", "AT,3"}, sBriefly, {}, 0, 0, false, sOldTimes},
    {"Time stamps of 2009", {"--year", "2009,AT,5"}, sBriefly, {}, 0, 0, false, sNoTimes},
    {"Time stamps of 2059", {"--year", "2059,AT,5"}, sBriefly, {}, 0, 0, false, sNoTimes},
    {"Two dequeues fail", {"--dqbuf-error", failing(EIO, ",AT,2")}, sLonger, {}},
    {"Seven dequeues fail", {"--dqbuf-error", failing(EIO, ",AT,7")}, sLonger, {sDequeue}},
    {"Dequeueing fails for good", {"--dqbuf-error", failing(EIO, ",AT")}, sUntilVerdict, {sDequeue, sRestart}},
    {"One requeue fails", {"--qbuf-error", failing(EIO, ",AT,1")}, sBriefly, {}},
    {"Five requeues fail", {"--qbuf-error", failing(EIO, ",AT,5")}, sBriefly, {sEnqueue}},
    {"Stream does not stop", {"--streamoff-error", failing(EIO, ",1"), "--stall", "AT"}, sUntilVerdict, {sTimeOut, sRestart}},
};
// clang-format on
