#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace obriadv {

/// A bar on standard error for long work; says nothing when that is no terminal.
class Progress {
public:
    /// @param what  what is being done, a word or two.
    Progress(std::string what, uint64_t total);
    /// Wipes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// done of total are finished; redraws at most ten times a second.
    void show(uint64_t done);

private:
    std::string m_what;
    uint64_t m_total;
    bool m_isShown;
    bool m_isDrawn = false;
    std::chrono::steady_clock::time_point m_last;
};

} // namespace obriadv
