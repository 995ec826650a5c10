#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <sys/types.h>

namespace obrisim {

/// How far the program is behind the camera, and what kept it. All times in ns.
struct SBacklog {
    int64_t behindNs = 0; ///< since the first frame was begun that the program has not been level with since
    int64_t handled = 0;  ///< frames it has given back in that
    int64_t ranNs = 0;    ///< processor time that the program's thread used in that
    int64_t gapNs = 0;    ///< the longest it went without a visit in that, less the processor time used meanwhile and
                          ///< what the camera kept it waiting
    char state = '-';     ///< what the thread is doing now: R runs or wants to, C waits until the camera has done
                          ///< something else, D disk, S sleeps; - not known
};

/// Watches whether the program keeps up with the frames, so that one that is kept from working can be told from one
/// that works too slowly: the latter uses the processor all the time. Calls are serialised by the caller.
class Attendance {
public:
    /// A buffer is being filled.
    void frameBegun();
    /// It lies finished for the program. @param sinceNs  when the program's time for it began; monotonic
    void frameFinished(int64_t sinceNs);
    // The program's own thread.
    void programTook() { programCame(); }
    /// @param isLevel  it has taken all there is, and given it back
    void programGaveBack(bool isLevel);
    bool isOf(pid_t thread) const { return thread == m_thread; }
    /// The camera kept it waiting for so long just now.
    void excuse(int64_t ns) { m_visitNs += ns; }
    /// Any thread. @param caller  the thread that waits for the camera; 0: none
    SBacklog backlog(const std::atomic<pid_t>& caller) const;

private:
    void programCame();
    int64_t processorNs() const;
    int64_t gapUntil(int64_t nowNs) const;

    bool m_isLevel = true;
    int64_t m_ranUntilBegun = 0;                // until the latest frame was
    int64_t m_beganNs = 0, m_ranBeforeNs = 0;   // where the backlog began
    int64_t m_visitNs = 0, m_ranUntilVisit = 0; // the program's latest visit since
    int64_t m_longestGapNs = 0, m_handled = 0;
    pid_t m_thread = 0; // of the latest visit
    clockid_t m_processorClock = CLOCK_MONOTONIC;
};

} // namespace obrisim
