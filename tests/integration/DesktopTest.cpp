#include "Observing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <unistd.h>

// Fails when a computer may fall asleep in the middle of a recording, or never again after one.
TEST(Inhibit, TheDesktopStaysAwakeWhileARecordingRuns)
{
    constexpr uint32_t sLogoutSuspendIdle = 1 | 4 | 8;
    std::atomic<uint32_t> inForce{0}; // what the requests hold off, as a sum; the flags of one are its cookie as well
    const ServiceFake manager("org.gnome.SessionManager", [&](const std::string& method, GVariant* arguments) {
        const bool isRequest = method == "Inhibit";
        uint32_t flags = 0;
        g_variant_get_child(arguments, isRequest ? 3 : 0, "u", &flags);
        inForce += isRequest ? flags : 0 - flags;
        return isRequest ? g_variant_new("(u)", flags) : g_variant_new("()");
    });
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_NO_FATAL_FAILURE(streamAt(program, sFullSize));
    EXPECT_EQ(inForce, 0u);
    program.activate("startRecordingAdv");
    EXPECT_TRUE(waitFor([&] { return inForce == sLogoutSuspendIdle; }));
    program.activate("stopRecording");
    EXPECT_TRUE(waitFor([&] { return inForce == 0; }));
}

// Fails when the thread that carries frames waits its turn like any other on a desktop that would let it go first.
TEST(Priority, IsAskedOfTheDesktopWhereTheUserHasNone)
{
    std::atomic<uint64_t> thread{0};
    std::atomic<int> niceness{0};
    const ServiceFake kit("org.freedesktop.RealtimeKit1", [&](const std::string& method, GVariant* arguments) {
        EXPECT_EQ(method, "MakeThreadHighPriority");
        uint64_t id = 0;
        int level = 0;
        g_variant_get(arguments, "(ti)", &id, &level);
        thread = id;
        niceness = level;
        return g_variant_new("()");
    });
    using Words = std::vector<std::string>;
    Program program({.simulator = geteuid() == 0 ? Words{"--", "setpriv", "--bounding-set", "-sys_nice"}
                                                 : Words{"--", "prlimit", "--rtprio=0"},
                     .environment = {{"DBUS_SYSTEM_BUS_ADDRESS", getenv("DBUS_SESSION_BUS_ADDRESS")}}});
    ASSERT_TRUE(waitFor([&] { return niceness != 0; })) << program.lastWords();
    EXPECT_EQ(niceness, -11);
    EXPECT_EQ(contentsOf("/proc/" + std::to_string(thread) + "/comm"), "streaming\n");
    EXPECT_TRUE(program.waitForWindow());
}
