#pragma once

#include <csignal>
#include <sys/resource.h>
#include <sys/types.h>

/// Files of a process cannot grow beyond so many bytes for the life of the object: a disk that is full.
class FileSizeLimit {
public:
    /// @param processId  0: the test's own
    explicit FileSizeLimit(rlim_t bytes, pid_t processId = 0)
        : m_processId(processId), m_oldHandler(signal(SIGXFSZ, SIG_IGN))
    {
        prlimit(m_processId, RLIMIT_FSIZE, nullptr, &m_old);
        const rlimit limit{bytes, m_old.rlim_max};
        prlimit(m_processId, RLIMIT_FSIZE, &limit, nullptr);
    }
    ~FileSizeLimit()
    {
        prlimit(m_processId, RLIMIT_FSIZE, &m_old, nullptr);
        signal(SIGXFSZ, m_oldHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    const pid_t m_processId;
    void (*const m_oldHandler)(int); ///< of the test's own process
    rlimit m_old{};
};
