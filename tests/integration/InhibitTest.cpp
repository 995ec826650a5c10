#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <mutex>

using testing::IsEmpty;

namespace {

constexpr uint32_t sLogoutSuspendIdle = 1 | 4 | 8;

/// The part of a desktop that can be asked to stay awake, on the bus of the tests for as long as the object lives.
class SessionManagerFake {
public:
    SessionManagerFake()
    {
        m_filter = g_dbus_connection_add_filter(bus(), onMessage, this, nullptr);
        callBus("RequestName", g_variant_new("(su)", sInterface, 0));
    }
    ~SessionManagerFake()
    {
        callBus("ReleaseName", g_variant_new("(s)", sInterface));
        g_dbus_connection_remove_filter(bus(), m_filter);
    }

    /// What each request that is in force holds off.
    std::vector<uint32_t> inForce() const
    {
        const std::lock_guard guard(m_lock);
        std::vector<uint32_t> flags;
        for (const auto& [cookie, flag] : m_requests)
            flags.push_back(flag);
        return flags;
    }

private:
    static constexpr char sInterface[] = "org.gnome.SessionManager";
    static GDBusConnection* bus() { return Desktop::instance().bus(); }

    static void callBus(const char* method, GVariant* arguments)
    {
        if (GVariant* answer = g_dbus_connection_call_sync(bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                           "org.freedesktop.DBus", method, arguments, nullptr,
                                                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr))
            g_variant_unref(answer);
    }

    /// Answers in the connection's own thread what is meant for us.
    static GDBusMessage* onMessage(GDBusConnection*, GDBusMessage* message, gboolean isIncoming, void* data)
    {
        const char* interface = g_dbus_message_get_interface(message);
        if (!isIncoming || g_strcmp0(interface, sInterface) != 0)
            return message;
        const GObjectHandle<GDBusMessage> answer(g_dbus_message_new_method_reply(message));
        if (GVariant* body = static_cast<SessionManagerFake*>(data)->answer(g_dbus_message_get_member(message),
                                                                            g_dbus_message_get_body(message)))
            g_dbus_message_set_body(answer.get(), body);
        g_dbus_connection_send_message(bus(), answer.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(message);
        return nullptr;
    }

    GVariant* answer(const std::string& method, GVariant* arguments)
    {
        const std::lock_guard guard(m_lock);
        const bool isRequest = method == "Inhibit";
        uint32_t number = 0; // the flags of the request, or the cookie of one that ends
        g_variant_get_child(arguments, isRequest ? 3 : 0, "u", &number);
        if (!isRequest)
            return m_requests.erase(number), nullptr;
        m_requests[++m_lastCookie] = number;
        return g_variant_new("(u)", m_lastCookie);
    }

    guint m_filter = 0;
    mutable std::mutex m_lock;
    std::map<uint32_t, uint32_t> m_requests; ///< by cookie
    uint32_t m_lastCookie = 0;
};

} // namespace

// Fails when a computer may fall asleep in the middle of a recording, or never again after one.
TEST(Inhibit, TheDesktopStaysAwakeWhileARecordingRuns)
{
    const SessionManagerFake manager;
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    EXPECT_THAT(manager.inForce(), IsEmpty());
    program.activate("startRecordingAdv");
    EXPECT_TRUE(waitFor([&] { return manager.inForce() == std::vector{sLogoutSuspendIdle}; }));
    program.activate("stopRecording");
    EXPECT_TRUE(waitFor([&] { return manager.inForce().empty(); }));
}
