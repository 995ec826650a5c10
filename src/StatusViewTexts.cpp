#include "StatusViewTexts.h"

#include "TextFormat.h"

#include <algorithm>
#include <linux/magic.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>

using libobribase::formatFixed;

namespace {

constexpr double sShortMinutes = 10;            // less room than this is worth a warning
constexpr uint64_t sShortBytes = 2'000'000'000; // the same while nothing is recording
constexpr int sFixComplete = 3;                 // both low bits of the fix state
constexpr double sKilo = 1e3, sMega = 1e6, sGiga = 1e9;

/// Whether frames come: what the latest one said still holds.
bool isLive(const SStreamStatus& status)
{
    return status.cameraConnected && status.streaming && status.framesSeen > 0;
}

/// Bytes that a file may have in a folder, by its file system and by the process's limits; 0: as many as there are.
uint64_t fileSizeLimitIn(const char* folder)
{
    uint64_t limit = UINT64_MAX;
    struct statfs fileSystem {};
    if (statfs(folder, &fileSystem) == 0 && fileSystem.f_type == MSDOS_SUPER_MAGIC)
        limit = UINT32_MAX; // memory sticks come formatted so
    rlimit process{};
    if (getrlimit(RLIMIT_FSIZE, &process) == 0 && process.rlim_cur != RLIM_INFINITY)
        limit = std::min<uint64_t>(limit, process.rlim_cur);
    return limit == UINT64_MAX ? 0 : limit;
}

std::string counted(uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string bytesText(uint64_t bytes)
{
    const auto value = static_cast<double>(bytes);
    if (value < sMega)
        return formatFixed(value / sKilo, 0) + " kB";
    return value < sGiga ? formatFixed(value / sMega, 0) + " MB" : formatFixed(value / sGiga, 1) + " GB";
}

std::string minutesText(double minutes)
{
    if (minutes < 1)
        return "less than a minute left";
    if (minutes >= 600)
        return formatFixed(minutes / 60, 0) + " hours left";
    return formatFixed(minutes, 0) + " min left";
}

/// Bytes that the recording's file may still grow by under the limit for one file; all there are without one.
uint64_t roomUnderLimit(const SRecordingStatus& recording, const SDiskRoom& room)
{
    // A sequence starts another file with every frame.
    if (room.fileSizeLimit == 0 || recording.format.find("FITS") != std::string::npos)
        return UINT64_MAX;
    return room.fileSizeLimit - std::min(room.fileSizeLimit, recording.bytesWritten);
}

std::string spaceWarning(const SStreamStatus& status, const SDiskRoom& room)
{
    if (!room.known)
        return {};
    if (!status.recording.active)
        return room.freeBytes < sShortBytes ? "Disk space is short: " + bytesText(room.freeBytes) + " free" : "";
    const double minutes = minutesLeft(status.recording, room);
    if (minutes < 0 || minutes >= sShortMinutes)
        return {};
    const bool limited = roomUnderLimit(status.recording, room) < room.freeBytes;
    return (limited ? "The file size limit is near: " : "Disk space is short: ") + minutesText(minutes);
}

} // namespace

SDiskRoom readDiskRoom(const char* folder)
{
    SDiskRoom room;
    struct statvfs fileSystem {};
    if (statvfs(folder, &fileSystem) == 0) {
        room.known = true;
        room.freeBytes = uint64_t{fileSystem.f_bavail} * fileSystem.f_frsize;
    }
    room.fileSizeLimit = fileSizeLimitIn(folder);
    return room;
}

std::string cameraText(const SStreamStatus& status)
{
    return status.cameraConnected && !status.cameraName.empty() ? status.cameraName : "Not connected";
}

std::string gpsText(const SStreamStatus& status)
{
    if (status.framesSeen == 0)
        return "Status";
    if (!isLive(status))
        return "Not streaming";
    std::string text = status.fixState == 0 ? "No GPS fix"
                       : (status.fixState & sFixComplete) == sFixComplete
                           ? "GPS fix"
                           : "GPS fix incomplete (" + std::to_string(status.fixState) + ")";
    text += ", " + counted(static_cast<uint64_t>(std::max(status.satellites, 0)), "satellite", "satellites");
    if (status.temperatureValid)
        text += ", " + std::to_string(status.temperature) + " °C";
    return text;
}

std::string countersText(const SStreamStatus& status)
{
    if (status.framesSeen == 0)
        return "Error counter";
    return counted(status.framesSeen, "frame", "frames") + ", " + std::to_string(status.framesLost) + " lost,\n" +
           counted(status.overlayErrors, "overlay error", "overlay errors");
}

double minutesLeft(const SRecordingStatus& recording, const SDiskRoom& room)
{
    if (!room.known || recording.bytesPerSecond <= 0)
        return -1;
    const auto bytes = static_cast<double>(std::min(room.freeBytes, roomUnderLimit(recording, room)));
    return bytes / recording.bytesPerSecond / 60;
}

std::string recordingText(const SRecordingStatus& recording, const SDiskRoom& room)
{
    std::string text = recording.file + ": " + counted(recording.frames, "frame", "frames") + ", " +
                       formatFixed(recording.seconds, 0) + " s, " + std::to_string(recording.framesLost) + " lost";
    if (room.known)
        text += ", " + bytesText(room.freeBytes) + " free";
    const double minutes = minutesLeft(recording, room);
    return minutes < 0 ? text : text + ", " + minutesText(minutes);
}

std::string warningText(const SStreamStatus& status, const SDiskRoom& room)
{
    std::string text = spaceWarning(status, room);
    if (isLive(status) && !status.timeValid)
        text += (text.empty() ? "" : "; ") + std::string("Camera time is not valid");
    return text;
}

std::string totalsText(const SRecordingStatus& recording)
{
    return "Recording ended: " + recording.file + ", " + counted(recording.frames, "frame", "frames") + " in " +
           formatFixed(recording.seconds, 1) + " s, " + std::to_string(recording.framesLost) + " lost, " +
           bytesText(recording.bytesWritten);
}
