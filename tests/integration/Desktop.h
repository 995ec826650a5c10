#pragma once

#include <gio/gio.h>

#include <cstdio>
#include <functional>
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

/// A service of the desktop, on the bus of the tests for as long as the object lives.
class ServiceFake {
public:
    /// Takes a call, in the bus's own thread. @return the answer's body
    using Handler = std::function<GVariant*(const std::string& method, GVariant* arguments)>;

    /// @param name  of the service, and of its interface that is handled
    ServiceFake(const char* name, Handler handler);
    ~ServiceFake();
    ServiceFake(const ServiceFake&) = delete;
    ServiceFake& operator=(const ServiceFake&) = delete;

private:
    static GDBusMessage* onMessage(GDBusConnection* bus, GDBusMessage* message, gboolean isIncoming, void* fake);

    const char* m_name;
    Handler m_handler;
    guint m_filter;
};
