#pragma once

#include "StreamStatus.h"

#include <cstdint>
#include <deque>

/// How fast a recording grows at present: the exposure may have changed since it began. Main thread.
class RecordingRate {
public:
    /// Takes a recording as it stands.
    ///
    /// @return  bytes a second over its last half minute, over all of it while it is younger; 0 before it has grown.
    double at(const SRecordingStatus& recording);

private:
    struct SMark {
        double seconds;
        uint64_t bytes;
    };
    std::deque<SMark> m_marks; // the first is half a minute old when there are any as old
};
