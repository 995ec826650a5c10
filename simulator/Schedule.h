#pragma once
#include <cstdint>

namespace obrisim {

/// When the target star is hidden. Times in ns since the camera's own start.
struct SOccultation {
    int64_t startNs = 0;
    int64_t durationNs = 0; ///< 0: never
    int64_t periodNs = 0;   ///< 0: once; else it comes back, each period after the last start
    double depth = 1.0;     ///< part of the light that goes: 0..1
};

/// The part of the target's light, 0..1, that an exposure from start to end (ns, as above) collects.
double visiblePart(const SOccultation& occultation, int64_t startNs, int64_t endNs);

} // namespace obrisim
