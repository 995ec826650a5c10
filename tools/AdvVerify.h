#pragma once

#include "AdvFile.h"
#include "FrameTimes.h"

namespace obriadv {

/// What verifying found.
struct SVerifyReport {
    bool isReadable = false;           ///< false: not such a file at all, verdict says why
    std::string verdict;               ///< one line
    std::vector<std::string> findings; ///< without the gaps
    std::vector<std::string> notes;    ///< worth knowing, nothing wrong
    std::vector<SGap> gaps;
    std::string gapTable;

    /// 0: nothing found, 1: findings, 2: not such a file.
    int exitStatus() const { return !isReadable ? 2 : findings.empty() && gaps.empty() ? 0 : 1; }
    /// The whole report: verdict first, then findings, notes, and the table of gaps.
    std::string text() const;
};

/// "1 frame", "2 frames".
std::string plural(uint64_t count, const std::string& one);

// The parts that the verdicts of recordings and folders share: "NAME: OK, " or "NAME: 3 findings, ", and "5 frames
// lost".
std::string verdictStart(const std::string& name, const SVerifyReport& report);
std::string lossText(const std::vector<SGap>& gaps);

/// The camera's times and counters of a recording's frames.
std::vector<SFrameTime> frameTimes(const std::vector<SAdvFrame>& frames);

/// The frames carry a camera counter that moves; only then can it tell about loss.
bool hasCounter(const std::vector<SAdvFrame>& frames);

/// Accounts for every byte and checks index, counts, times, counters, status entries and compressed blocks.
SVerifyReport verifyRecording(const std::string& path);
SVerifyReport verifyRecording(AdvFile& file, const std::string& name);

} // namespace obriadv
