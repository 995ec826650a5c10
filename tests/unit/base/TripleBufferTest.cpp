#include "TripleBuffer.h"

#include <gtest/gtest.h>

#include <thread>

TEST(TripleBuffer, NewestIsWholeStaysPutAndNeverGoesBack)
{
    libobribase::TripleBuffer<std::pair<int, int>> buffer;
    const std::jthread writer([&](std::stop_token stop) {
        for (int i = 1; !stop.stop_requested(); ++i) {
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
}
