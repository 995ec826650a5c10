#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <thread>

using testing::IsEmpty;

namespace {

constexpr char sInterface[] = "org.gnome.SessionManager", sPath[] = "/org/gnome/SessionManager";
constexpr char sDescription[] = "<node><interface name='org.gnome.SessionManager'>"
                                "<method name='Inhibit'><arg type='s' direction='in'/><arg type='u' direction='in'/>"
                                "<arg type='s' direction='in'/><arg type='u' direction='in'/>"
                                "<arg type='u' direction='out'/></method>"
                                "<method name='Uninhibit'><arg type='u' direction='in'/></method></interface></node>";
constexpr uint32_t sLogoutSuspendIdle = 1 | 4 | 8;

/// The part of a desktop that can be asked to stay awake, on the bus of the tests for as long as the object lives.
class SessionManagerFake {
public:
    SessionManagerFake()
    {
        g_main_context_push_thread_default(m_context); // calls are answered in our thread
        GDBusNodeInfo* description = g_dbus_node_info_new_for_xml(sDescription, nullptr);
        static constexpr GDBusInterfaceVTable sTable{onCall, nullptr, nullptr, {}};
        m_object = g_dbus_connection_register_object(bus(), sPath, description->interfaces[0], &sTable, this, nullptr,
                                                     nullptr);
        g_dbus_node_info_unref(description);
        g_main_context_pop_thread_default(m_context);
        callBus("RequestName", g_variant_new("(su)", sInterface, 0));
        m_thread = std::thread([this] { g_main_loop_run(m_loop); });
    }
    ~SessionManagerFake()
    {
        callBus("ReleaseName", g_variant_new("(s)", sInterface));
        g_dbus_connection_unregister_object(bus(), m_object);
        g_main_loop_quit(m_loop);
        m_thread.join();
        g_main_loop_unref(m_loop);
        g_main_context_unref(m_context);
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
    static GDBusConnection* bus() { return Desktop::instance().bus(); }

    static void callBus(const char* method, GVariant* arguments)
    {
        if (GVariant* answer = g_dbus_connection_call_sync(bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                           "org.freedesktop.DBus", method, arguments, nullptr,
                                                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr))
            g_variant_unref(answer);
    }

    static void onCall(GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* arguments,
                       GDBusMethodInvocation* invocation, void* data)
    {
        auto* self = static_cast<SessionManagerFake*>(data);
        const std::lock_guard guard(self->m_lock);
        uint32_t number = 0; // the flags of the request, or the cookie of one that ends
        if (std::string(method) == "Inhibit") {
            g_variant_get_child(arguments, 3, "u", &number);
            self->m_requests[++self->m_lastCookie] = number;
            g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", self->m_lastCookie));
        } else {
            g_variant_get_child(arguments, 0, "u", &number);
            self->m_requests.erase(number);
            g_dbus_method_invocation_return_value(invocation, nullptr);
        }
    }

    GMainContext* m_context = g_main_context_new();
    GMainLoop* m_loop = g_main_loop_new(m_context, FALSE);
    guint m_object = 0;
    mutable std::mutex m_lock;
    std::map<uint32_t, uint32_t> m_requests; ///< by cookie
    uint32_t m_lastCookie = 0;
    std::thread m_thread;
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
