#pragma once

#include "AdvRecords.h"
#include "ByteSource.h"

namespace obriadv {

/// What stands between the header and the index of a recording.
struct SFrameWalk {
    std::vector<SAdvFrame> frames;
    std::vector<SAdvRegion> gaps;    ///< stretches that hold no whole record
    std::vector<SAdvFinding> damage; ///< the reason of each gap
};

/// Finds the frame records, one behind the other, from the end of the header to the index table or the end of the
/// file. Where no whole record stands, the search goes on for the next one, so that a damaged spot costs the frames
/// that it touches and no more.
SFrameWalk walkFrames(const ByteSource& source, const SAdvHeader& header);

} // namespace obriadv
