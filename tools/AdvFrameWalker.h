#pragma once

#include "AdvRecords.h"
#include "ByteSource.h"

namespace obriadv {

/// Finds the frame records of a recording, one behind the other.
///
/// Where no whole record stands, the search goes on for the next one, so that one damaged spot costs the frames
/// it touches and no more.
class AdvFrameWalker {
public:
    AdvFrameWalker(const ByteSource& source, const SAdvHeader& header);

    /// Walks from the end of the header to the index table or the end of the file.
    void walk();

    std::vector<SAdvFrame> m_frames;
    std::vector<SAdvRegion> m_gaps;    ///< stretches that hold no whole record
    std::vector<SAdvFinding> m_damage; ///< the reason of each gap

private:
    struct SEntry;

    bool readRecord(uint64_t offset, SAdvFrame& frame);
    bool readStatus(class ByteCursor& in, SAdvStatus& status);
    uint64_t findRecord(uint64_t from, uint64_t to);

    const ByteSource& m_source;
    const SAdvHeader& m_header;
    std::string m_reason;     // why the last readRecord failed
    std::vector<int> m_known; // for each status tag of the header its EAdvStatus, or -1
};

} // namespace obriadv
