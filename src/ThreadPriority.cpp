#include "ThreadPriority.h"

#include <gio/gio.h>
#include <memory>
#include <sched.h>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace {

struct Unref {
    void operator()(GDBusConnection* bus) const { g_object_unref(bus); }
    void operator()(GVariant* answer) const { g_variant_unref(answer); }
};

/// A connection of our own: the shared one to the system's bus ends the program when that bus does.
std::unique_ptr<GDBusConnection, Unref> connectToSystemBus()
{
    const std::unique_ptr<char, decltype(&g_free)> address(
        g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr), g_free);
    if (!address)
        return nullptr;
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return std::unique_ptr<GDBusConnection, Unref>(
        g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, nullptr, nullptr));
}

// Its real-time priorities come with a limit of processor time (RLIMIT_RTTIME) whose excess ends the program: a frame
// that takes long must not. Interface org.freedesktop.RealtimeKit1: MakeThreadHighPriority(thread: t, niceness: i).
void askRealtimeKit(pid_t thread)
{
    constexpr int sNiceness = -11; // before ordinary programs, behind sound servers
    const auto bus = connectToSystemBus();
    if (!bus)
        return;
    GVariant* const request = g_variant_new("(ti)", static_cast<guint64>(thread), sNiceness);
    const std::unique_ptr<GVariant, Unref> answer(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.RealtimeKit1", "/org/freedesktop/RealtimeKit1", "org.freedesktop.RealtimeKit1",
        "MakeThreadHighPriority", request, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

/// Nobody waits for the answer: a bus may take its time.
void askRealtimeKitAside()
try {
    std::thread(askRealtimeKit, gettid()).detach();
} catch (const std::system_error&) {
    // It goes without.
}

} // namespace

void raiseThreadPriority()
{
    rlimit limit{};
    const bool isUnlimited = getrlimit(RLIMIT_RTTIME, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY;
    const sched_param priority{.sched_priority = sched_get_priority_min(SCHED_RR)};
    if (!isUnlimited || sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &priority) != 0) // 0: this thread
        askRealtimeKitAside();
}
