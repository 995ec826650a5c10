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

static void callBus(const char* method, GVariant* arguments)
{
    g_variant_unref(g_dbus_connection_call_sync(testBus(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus", method,
                                                arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

ServiceFake::ServiceFake(const char* name, Handler handler)
    : m_name(name), m_handler(std::move(handler)),
      m_filter(g_dbus_connection_add_filter(testBus(), onMessage, this, nullptr))
{
    callBus("RequestName", g_variant_new("(su)", m_name, 0));
}

ServiceFake::~ServiceFake()
{
    callBus("ReleaseName", g_variant_new("(s)", m_name));
    g_dbus_connection_remove_filter(testBus(), m_filter);
}

GDBusMessage* ServiceFake::onMessage(GDBusConnection* bus, GDBusMessage* message, gboolean isIncoming, void* fake)
{
    const auto* self = static_cast<const ServiceFake*>(fake);
    if (!isIncoming || g_strcmp0(g_dbus_message_get_interface(message), self->m_name) != 0)
        return message;
    GDBusMessage* answer = g_dbus_message_new_method_reply(message);
    g_dbus_message_set_body(answer,
                            self->m_handler(g_dbus_message_get_member(message), g_dbus_message_get_body(message)));
    g_dbus_connection_send_message(bus, answer, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(answer);
    g_object_unref(message);
    return nullptr;
}
