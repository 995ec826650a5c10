#include "ThreadSafeDoubleBuffer.h"
#include "TripleBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

using namespace libobribase;

TEST(ThreadSafeDoubleBuffer, ReaderGetsTheBlockCommittedLastAndNoMore)
{
    ThreadSafeDoubleBuffer buffer(5);
    EXPECT_FALSE(buffer.AtomicRead());
    memset(buffer.GetReadBuffer(), '-', 8); // rounded up to whole words; the copy ends at five
    for (const char* text : {"first...", "other..."}) {
        memcpy(buffer.GetWriteBuffer(), text, 8);
        buffer.CommitWrite();
    }
    EXPECT_TRUE(buffer.AtomicRead());
    EXPECT_FALSE(buffer.AtomicRead());
    EXPECT_EQ(memcmp(buffer.GetReadBuffer(), "other---", 8), 0);
}

// A torn block would show one writer's round number beside another's.
TEST(ThreadSafeDoubleBuffer, BlocksArriveWholeFromAnotherThread)
{
    ThreadSafeDoubleBuffer buffer(4096);
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (uint8_t round = 0; !stop; ++round) {
            memset(buffer.GetWriteBuffer(), round, 4096);
            buffer.CommitWrite();
        }
    });
    for (int blocks = 0; blocks < 200;) {
        if (!buffer.AtomicRead())
            continue;
        ++blocks;
        const uint8_t* copy = buffer.GetReadBuffer();
        ASSERT_TRUE(std::all_of(copy, copy + 4096, [&](uint8_t b) { return b == copy[0]; }));
    }
    stop = true;
    writer.join();
}

TEST(TripleBuffer, NewestIsWholeStaysPutAndNeverGoesBack)
{
    TripleBuffer<std::pair<int, int>> buffer;
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int i = 1; !stop; ++i) {
            buffer.writeSlot() = {i, i};
            buffer.publish();
        }
    });
    for (int reads = 0, last = 0; reads < 4000; ++reads) {
        const auto& newest = buffer.newest();
        const int first = newest.first;
        std::this_thread::yield();
        ASSERT_EQ(newest, std::pair(first, first));
        ASSERT_GE(first, last);
        last = first;
    }
    stop = true;
    writer.join();
}
