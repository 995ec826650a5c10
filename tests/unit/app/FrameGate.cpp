#include "FrameGate.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

class FrameGateTest : public testing::Test {
protected:
    void SetUp() override { open(); }

    void open()
    {
        const FrameGate::Control control(gate);
        gate.openSession();
    }

    bool frameEnters(uint64_t session) { return static_cast<bool>(FrameGate::Frame(gate, session)); }

    FrameGate gate;
};

} // namespace

TEST_F(FrameGateTest, FramesOfAnEndedStreamAreLeftAlone)
{
    const uint64_t first = gate.session();
    EXPECT_TRUE(frameEnters(first));
    {
        const FrameGate::Control control(gate);
        gate.endSession();
    }
    EXPECT_FALSE(frameEnters(first));
    EXPECT_FALSE(frameEnters(gate.session())) << "no stream at all";
    open();
    EXPECT_FALSE(frameEnters(first)) << "another stream";
    EXPECT_TRUE(frameEnters(gate.session()));
    gate.closeForGood();
    open();
    EXPECT_FALSE(frameEnters(gate.session())) << "closed for good";
}

TEST_F(FrameGateTest, OperationsInsideAnOperationOrAFrameBelongToIt)
{
    const FrameGate::Frame frame(gate, gate.session());
    {
        const FrameGate::Control outer(gate);
        const FrameGate::Control inner(gate);
    }
    std::atomic<bool> entered{false};
    std::thread other([&] {
        const FrameGate::Control control(gate);
        entered = true;
    });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(entered) << "the frame still has the gate";
    gate.abandon();
    other.join();
}

// Frames follow each other without a pause, as a camera at full speed with full buffers lets them.
TEST_F(FrameGateTest, OperationsRunBetweenFramesAndAreNotStarved)
{
    std::atomic<bool> stop{false};
    int unguarded = 0; // plain on purpose: the thread sanitizer sees a gate that lets two in
    std::atomic<uint64_t> frames{0};
    std::thread streaming([&] {
        while (!stop) {
            const FrameGate::Frame frame(gate, gate.session());
            if (!frame)
                continue;
            ++unguarded;
            std::this_thread::sleep_for(1ms);
            --unguarded;
            ++frames;
        }
    });
    int crossings = 0;
    auto longest = 0ns;
    for (int i = 0; i < 100; ++i) {
        for (const uint64_t seen = frames; frames == seen;)
            std::this_thread::yield();
        const auto asked = std::chrono::steady_clock::now();
        const FrameGate::Control control(gate);
        longest = std::max<std::chrono::nanoseconds>(longest, std::chrono::steady_clock::now() - asked);
        crossings += unguarded != 0;
        gate.openSession();
    }
    stop = true;
    streaming.join();
    EXPECT_EQ(crossings, 0);
    EXPECT_LT(longest, 1s) << "waited for many frames instead of one";
}
