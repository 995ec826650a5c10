#pragma once

#include "AdvFile.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
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

/// FNV-1a, 64 bits, over the pixels' little-endian bytes: what the frame log holds.
uint64_t hashOf(const std::vector<uint16_t>& pixels);

/// Whether the program was asked to change pixels (line noise, time stamp), so that they cannot equal the camera's.
enum class EPixels { AsSent, MayBeStamped };

/// Holds a recording against what the camera sent. Each finding is one line; none: every frame between the first
/// and the last recorded one is there, once, in order, with its own pixels, times and counter, and every byte of
/// the file is accounted for.
std::vector<std::string> differences(const std::filesystem::path& recording,
                                     const std::map<uint32_t, SCameraFrame>& camera, EPixels pixels = EPixels::AsSent);
