#include "Desktop.h"

#include <signal.h>

#include <stdexcept>

Desktop& Desktop::instance()
{
    static Desktop desktop;
    return desktop;
}

Desktop::Desktop()
{
    GObjectHandle<GSubprocessLauncher> launcher(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDOUT_PIPE));
    g_subprocess_launcher_unsetenv(launcher.get(), "LD_PRELOAD");
    m_xServer = spawn(launcher.get(),
                      {"Xvfb", "-displayfd", "1", "-screen", "0", "1366x1100x24", "-nolisten", "tcp", "-noreset"});
    m_display = ":" + firstLineOf(m_xServer.get());
    m_busDaemon = spawn(launcher.get(), {"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"});
    m_busAddress = firstLineOf(m_busDaemon.get());
    GError* error = nullptr;
    m_bus.reset(g_dbus_connection_new_for_address_sync(
        m_busAddress.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error));
    if (!m_bus)
        throw std::runtime_error("session bus: " + errorText(error));
}

Desktop::~Desktop()
{
    g_subprocess_send_signal(m_busDaemon.get(), SIGTERM);
    g_subprocess_send_signal(m_xServer.get(), SIGTERM);
    g_subprocess_wait(m_xServer.get(), nullptr, nullptr);
}
