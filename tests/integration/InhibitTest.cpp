#include "Observing.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

constexpr uint32_t sLogoutSuspendIdle = 1 | 4 | 8;

/// The part of a desktop that can be asked to stay awake, on the bus of the tests for as long as the object lives.
class SessionManagerFake {
public:
    SessionManagerFake() { callBus("RequestName", g_variant_new("(su)", sInterface, 0)); }
    ~SessionManagerFake()
    {
        callBus("ReleaseName", g_variant_new("(s)", sInterface));
        g_dbus_connection_remove_filter(testBus(), m_filter);
    }

    /// What the requests that are in force hold off, as a sum.
    std::atomic<uint32_t> inForce{0};

private:
    static constexpr char sInterface[] = "org.gnome.SessionManager";

    static void callBus(const char* method, GVariant* arguments)
    {
        g_variant_unref(g_dbus_connection_call_sync(testBus(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                                    method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                                                    nullptr));
    }

    /// Answers in the connection's own thread what is meant for us. The flags of a request are its cookie as well.
    static GDBusMessage* onMessage(GDBusConnection* bus, GDBusMessage* message, gboolean isIncoming, void* sum)
    {
        if (!isIncoming || g_strcmp0(g_dbus_message_get_interface(message), sInterface) != 0)
            return message;
        const bool isRequest = g_strcmp0(g_dbus_message_get_member(message), "Inhibit") == 0;
        uint32_t flags = 0;
        g_variant_get_child(g_dbus_message_get_body(message), isRequest ? 3 : 0, "u", &flags);
        *static_cast<std::atomic<uint32_t>*>(sum) += isRequest ? flags : 0 - flags;
        GDBusMessage* answer = g_dbus_message_new_method_reply(message);
        if (isRequest)
            g_dbus_message_set_body(answer, g_variant_new("(u)", flags));
        g_dbus_connection_send_message(bus, answer, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(answer);
        g_object_unref(message);
        return nullptr;
    }

    guint m_filter = g_dbus_connection_add_filter(testBus(), onMessage, &inForce, nullptr);
};

} // namespace

// Fails when a computer may fall asleep in the middle of a recording, or never again after one.
TEST(Inhibit, TheDesktopStaysAwakeWhileARecordingRuns)
{
    const SessionManagerFake manager;
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    EXPECT_EQ(manager.inForce, 0u);
    program.activate("startRecordingAdv");
    EXPECT_TRUE(waitFor([&] { return manager.inForce == sLogoutSuspendIdle; }));
    program.activate("stopRecording");
    EXPECT_TRUE(waitFor([&] { return manager.inForce == 0; }));
}
