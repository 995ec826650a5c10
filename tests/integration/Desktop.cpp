#include "Desktop.h"

#include <signal.h>
#include <stdlib.h>

#include <stdexcept>

Server::Server(const std::string& command)
    : m_output(popen(("echo $$; exec env -u LD_PRELOAD " + command).c_str(), "re"))
{
    char address[256];
    if (!m_output || fscanf(m_output, "%d %255s", &m_processId, address) != 2)
        throw std::runtime_error("no answer from " + command);
    m_address = address;
}

Server::~Server()
{
    kill(m_processId, SIGTERM);
    pclose(m_output);
}

std::string testDisplay()
{
    static const Server server(sXServer);
    return ":" + server.address();
}

GDBusConnection* testBus()
{
    static const Server server("dbus-daemon --session --nofork --nopidfile --print-address");
    static GDBusConnection* bus = nullptr;
    if (!bus) {
        setenv("DBUS_SESSION_BUS_ADDRESS", server.address().c_str(), 1);
        bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        g_dbus_connection_set_exit_on_close(bus, FALSE);
    }
    return bus;
}
