#include "FrameGate.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;

TEST(FrameGate, FramesOfAnEndedStreamAreLeftAlone)
{
    FrameGate gate;
    gate.openSession();
    const uint64_t first = gate.session();
    EXPECT_TRUE(FrameGate::Frame(gate, first));
    gate.endSession();
    EXPECT_FALSE(FrameGate::Frame(gate, first));
    EXPECT_FALSE(FrameGate::Frame(gate, gate.session())) << "no stream at all";
    gate.openSession();
    EXPECT_FALSE(FrameGate::Frame(gate, first)) << "another stream";
    EXPECT_TRUE(FrameGate::Frame(gate, gate.session()));
    gate.closeForGood();
    gate.openSession();
    EXPECT_FALSE(FrameGate::Frame(gate, gate.session())) << "closed for good";
}

// Frames follow each other without a pause, as a camera at full speed with full buffers lets them.
TEST(FrameGate, OperationsRunBetweenFramesAndAreNotStarved)
{
    FrameGate gate;
    gate.openSession();
    std::atomic<bool> stop{false};
    int unguarded = 0; // plain on purpose: the thread sanitizer sees a gate that lets two in
    std::atomic<uint64_t> frames{0};
    std::thread streaming([&] {
        while (!stop) {
            const FrameGate::Frame frame(gate, gate.session());
            if (!frame)
                continue;
            const FrameGate::Control belongsToTheFrame(gate);
            ++unguarded;
            std::this_thread::sleep_for(1ms);
            --unguarded;
            ++frames;
        }
    });
    for (int i = 0; i < 100; ++i) {
        for (const uint64_t seen = frames; frames == seen;)
            std::this_thread::yield();
        const auto asked = std::chrono::steady_clock::now();
        const FrameGate::Control control(gate), belongsToTheOther(gate);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, 1s) << "waited for many frames instead of one";
        EXPECT_EQ(unguarded, 0);
        gate.openSession();
    }
    stop = true;
    streaming.join();
}
