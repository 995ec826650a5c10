#pragma once

#include "Subprocess.h"

/// A private X display (Xvfb) and session bus, alive as long as the object. One serves a whole test program.
class Desktop {
public:
    Desktop();
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    const std::string& display() const { return m_display; }
    const std::string& busAddress() const { return m_busAddress; }
    /// A connection of the test's own, on which window actions are called.
    GDBusConnection* bus() const { return m_bus.get(); }

    static Desktop& instance();

private:
    GObjectHandle<GSubprocess> m_xServer;
    GObjectHandle<GSubprocess> m_busDaemon;
    GObjectHandle<GDBusConnection> m_bus;
    std::string m_display;
    std::string m_busAddress;
};
