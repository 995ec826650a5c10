#pragma once
#include "Gps.h"
#include "Settings.h"

#include <cstdint>
#include <span>

namespace obrisim {

constexpr int sOverlayWords = 128;

/// Everything one frame's binary overlay says.
struct SOverlay {
    int64_t startNs = 0, endNs = 0; ///< exposure, UTC, since 1970
    uint32_t frameId = 0;
    uint16_t width = 0, height = 0, binning = 1;
    SSettings settings;
    SGpsState gps;
    int year = 0;             ///< other than 0: written as the year of both times (2000..2255)
    bool badPreamble = false; ///< faults: the preamble, the checksum are wrong
    bool badChecksum = false;
};

/// Writes the overlay as 12-bit samples: one byte in the upper eight bits of each sample. The lower
/// four carry a pattern that makes the checksum over the decoded pixels' low bytes come out.
/// Layout version 6, big-endian numbers.
void encodeOverlay(const SOverlay& overlay, std::span<uint16_t, sOverlayWords> samples);

} // namespace obrisim
