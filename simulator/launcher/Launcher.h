#pragma once
#include "../Environment.h"
#include "../Options.h"
#include "MockedBus.h"
#include "Sweeper.h"

#include <csignal>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace obrisim {

/// Runs a program with the simulated camera on its bus: describes the device, starts the program with
/// the answering library loaded, passes signals on, takes the device away when its cable is pulled.
/// Main thread.
class Launcher {
public:
    /// @param arguments  the options as they go on to the program's side, paths made absolute
    Launcher(const SOptions& options, std::vector<std::string> arguments);
    ~Launcher();
    Launcher(const Launcher&) = delete;
    Launcher& operator=(const Launcher&) = delete;

    /// Runs the program to its end; its exit status, 128 + N when signal N ended it, 127 when it could
    /// not be started. Throws std::runtime_error when nothing could be set up.
    int run(char** program);

private:
    void holdSignals();
    void plugCameras();
    void openControl();
    void setEnvironment(const SOrigin& origin, const std::string& library) const;
    int watch();
    void readControl();
    void replugWhenDue();
    int pollTimeout() const;

    const SOptions m_options;
    const std::vector<std::string> m_arguments;
    std::unique_ptr<Sweeper> m_sweeper;
    std::string m_controlPath;
    int m_control = -1, m_signals = -1;
    std::unique_ptr<MockedBus> m_bus;
    sigset_t m_signalsBefore;
    pid_t m_child = -1;
    int64_t m_replugAtNs = 0; // monotonic; 0: nothing to do
};

} // namespace obrisim
