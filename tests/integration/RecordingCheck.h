#pragma once

#include "AdvFile.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One line of the simulated camera's frame log.
struct SCameraFrame {
    uint32_t id = 0;
    bool sent = false;   ///< false: made while no buffer was queued
    int64_t startNs = 0; ///< since 2010-01-01, as the overlay carries it: cut to whole milliseconds
    int64_t endNs = 0;
    int width = 0;
    int height = 0;
    uint64_t hash = 0; ///< of the decoded pixels
};

/// Every frame the camera made, by its counter. Throws std::runtime_error on a line that is none.
std::map<uint32_t, SCameraFrame> parseFrameLog(const std::vector<std::string>& lines);

/// Whether the program was asked to change pixels (line noise, time stamp), so that they cannot equal the camera's.
enum class EPixels { AsSent, MayBeStamped };

/// Holds a recording against what the camera sent. Each finding is one line; none: every frame between the first
/// and the last recorded one is there, once, in order, with its own pixels, times and counter, and every byte of
/// the file is accounted for.
std::vector<std::string> differences(const std::filesystem::path& recording,
                                     const std::map<uint32_t, SCameraFrame>& camera, EPixels pixels = EPixels::AsSent);

/// Frames that a recording holds; 0 when it cannot be read.
size_t framesIn(const std::filesystem::path& recording);

/// What a recording holds of the camera's frames, told by their pixels alone: right also where counters and times
/// of frames are damaged.
struct SHeld {
    size_t frames = 0;
    size_t missing = 0;                 ///< sent between the first and the last that is held
    size_t lostByCamera = 0;            ///< made in that span and never sent
    std::vector<std::string> strangers; ///< frames of the file that the camera did not send, or not in this order
    std::optional<std::pair<uint32_t, uint32_t>> span = {}; ///< the camera's numbers of the first and the last
};
SHeld framesHeld(const std::filesystem::path& recording, const std::map<uint32_t, SCameraFrame>& camera);
