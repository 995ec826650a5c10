#pragma once

#include "Semaphore.h"

#include <atomic>
#include <cstdio>
#include <string>

namespace libobribase {

class BinaryOverlay;

/// Writes the GPS state to a CSV file, a row a call. One for the process. Any thread.
class CGpsLogger {
public:
    static CGpsLogger* instance();

    CGpsLogger() = default;
    ~CGpsLogger();
    CGpsLogger(const CGpsLogger&) = delete;
    CGpsLogger& operator=(const CGpsLogger&) = delete;

    bool IsEnabled() const { return m_enabled.load(std::memory_order_relaxed); }

    /// Begins (or goes on with) the day's file "obri_gps_log_YYYY_MM_DD.txt" in a directory. False, with an error
    /// line in the log, when it cannot be opened. While enabled a second call changes nothing.
    bool Start(const std::string& directory);
    void Stop();

    /// Appends one row; nothing happens while not enabled.
    void Log(const BinaryOverlay* overlay);

private:
    void close();

    std::atomic<bool> m_enabled{false};
    Semaphore m_semaphore; ///< guards m_file
    FILE* m_file = nullptr;
};

} // namespace libobribase
