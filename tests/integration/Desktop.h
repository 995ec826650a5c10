#pragma once

#include <gio/gio.h>

#include <cstdio>
#include <string>

/// A server that says in its first line where it is found; it ends with the object.
class Server {
public:
    explicit Server(const std::string& command);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& address() const { return m_address; }

private:
    FILE* m_output; ///< stays open: a server that cannot write to it would end
    int m_processId = 0;
    std::string m_address;
};

/// Starts a private X display.
constexpr char sXServer[] = "Xvfb -displayfd 1 -screen 0 1366x1100x24 -nolisten tcp -noreset";

// One of each serves a whole test program.

/// Name of a private X display.
std::string testDisplay();
/// A connection of the test's own to a private session bus, whose address the environment has from then on.
GDBusConnection* testBus();
