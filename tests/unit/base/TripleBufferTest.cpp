#include "TripleBuffer.h"

#include <gtest/gtest.h>

TEST(TripleBuffer, NewestStaysPutAndNeverGoesBack)
{
    libobribase::TripleBuffer<int> buffer;
    for (int written = 0; const int writes : {0, 1, 0, 2, 1, 1, 3, 0, 5, 1}) {
        const int &newest = buffer.newest(), held = written;
        EXPECT_EQ(newest, held);
        for (int i = 0; i < writes; ++i) {
            buffer.writeSlot() = ++written;
            buffer.publish();
            EXPECT_EQ(newest, held);
        }
    }
}
