#include "Desktop.h"

#include <signal.h>

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

Desktop& Desktop::instance()
{
    static Desktop desktop;
    return desktop;
}

Desktop::Desktop()
    : m_bus(g_dbus_connection_new_for_address_sync(
          busAddress().c_str(),
          static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
          nullptr, nullptr, nullptr))
{
    if (!m_bus)
        throw std::runtime_error("no session bus");
}
