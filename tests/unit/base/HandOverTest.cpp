#include "ThreadSafeDoubleBuffer.h"
#include "TripleBuffer.h"

#include <gtest/gtest.h>

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
