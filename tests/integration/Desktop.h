#pragma once

#include <gio/gio.h>

#include <cstdio>
#include <memory>
#include <string>

/// Gives a GLib object back.
struct SUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, SUnref>;

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

/// A private X display (Xvfb) and session bus, alive as long as the object. One serves a whole test program.
class Desktop {
public:
    Desktop();

    std::string display() const { return ":" + m_xServer.address(); }
    const std::string& busAddress() const { return m_busDaemon.address(); }
    /// A connection of the test's own, on which window actions are called.
    GDBusConnection* bus() const { return m_bus.get(); }

    static Desktop& instance();

private:
    Server m_xServer{"Xvfb -displayfd 1 -screen 0 1366x1100x24 -nolisten tcp -noreset"};
    Server m_busDaemon{"dbus-daemon --session --nofork --nopidfile --print-address"};
    GObjectHandle<GDBusConnection> m_bus;
};
