#include "InheritingMutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <mutex>
#include <sched.h>
#include <sstream>
#include <string>
#include <thread>

using namespace libobribase;

namespace {

/// As the kernel has it: negative for a real-time one, 20 for an ordinary one.
int priorityOfThisThread()
{
    constexpr int sColumn = 18, sAfterName = 3; // of the kernel's line; the name may hold anything
    std::ifstream file("/proc/thread-self/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream columns(line.substr(line.rfind(')') + 1));
    return std::stoi(*std::next(std::istream_iterator<std::string>(columns), sColumn - sAfterName));
}

} // namespace

// Fails when the thread of frames waits for a thread that has to wait for a processor itself.
TEST(InheritingMutex, LendsItsOwnerThePriorityOfWhoWaits)
{
    InheritingMutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    const int own = priorityOfThisThread();
    std::promise<bool> isUrgent;
    const std::jthread waiter([&] {
        const sched_param lowest{.sched_priority = sched_get_priority_min(SCHED_RR)};
        isUrgent.set_value(sched_setscheduler(0, SCHED_RR, &lowest) == 0);
        const std::lock_guard<std::mutex> hold(mutex);
    });
    if (!isUrgent.get_future().get()) {
        lock.unlock();
        GTEST_SKIP() << "the user may have no real-time priority";
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    int lent = own;
    while (lent == own && std::chrono::steady_clock::now() < end)
        lent = priorityOfThisThread();
    lock.unlock();
    EXPECT_LT(lent, 0);
    EXPECT_EQ(priorityOfThisThread(), own);
}
