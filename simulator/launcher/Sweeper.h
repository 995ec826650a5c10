#pragma once
#include <string>
#include <sys/types.h>

namespace obrisim {

/// Removes folders when this process ends, however it ends: a small process of its own waits for that, so that one
/// that is killed or aborts leaves nothing behind either. Main thread.
class Sweeper {
public:
    /// To be made before the process has threads; throws std::runtime_error when it cannot be.
    Sweeper();
    /// Removes the folders now.
    ~Sweeper();
    Sweeper(const Sweeper&) = delete;
    Sweeper& operator=(const Sweeper&) = delete;

    void add(const std::string& folder) const;

private:
    int m_list = -1; // pipe to the process, a folder a line; its end is this process's end
    pid_t m_process = -1;
};

} // namespace obrisim
