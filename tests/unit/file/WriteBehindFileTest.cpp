#include "WriteBehindFile.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>

#include <random>

using libobrifile::WriteBehindFile;

// Blocks of many lengths, back-patches and cuts, through queues smaller and larger than what goes through them.
TEST(WriteBehindFile, HoldsWhatAnOrdinaryFileWould)
{
    const TemporaryFolder folder;
    std::mt19937 random(9);
    for (const size_t queueBytes : {0UL, 900UL, 30000UL, 1UL << 20}) {
        WriteBehindFile file(queueBytes);
        for (int opening = 0; opening < 2; ++opening) {
            FILE* stream = file.Open("a");
            ASSERT_NE(stream, nullptr);
            EXPECT_EQ(file.FallBehind(), queueBytes > 0); // no queue of nothing: all is written at once
            std::string expected;
            for (int round = 0; round < 300; ++round) {
                const std::string block(random() % 20000, static_cast<char>('a' + round % 26));
                ASSERT_EQ(fwrite(block.data(), 1, block.size(), stream), block.size());
                expected += block;
                fflush(stream);
                ASSERT_EQ(ftello64(stream), static_cast<off64_t>(expected.size()));
                if (round % 7 == 0 && !expected.empty()) {
                    const size_t at = random() % expected.size();
                    fseeko64(stream, static_cast<off64_t>(at), SEEK_SET);
                    fputc('!', stream);
                    expected[at] = '!';
                    fseeko64(stream, static_cast<off64_t>(expected.size()), SEEK_SET);
                }
                if (round % 50 == 0) {
                    expected.resize(expected.size() / 2);
                    file.CutBackTo(expected.size());
                }
            }
            EXPECT_TRUE(file.Drain());
            EXPECT_EQ(file.WrittenUpTo(), expected.size());
            EXPECT_EQ(fclose(stream), 0);
            EXPECT_EQ(folder.textOf("a"), expected);
        }
    }
}

TEST(WriteBehindFile, TellsWhatItCouldNotWrite)
{
    const TemporaryFolder folder;
    WriteBehindFile file(100);
    for (const bool isBehind : {true, false}) {
        FILE* stream = file.Open("a");
        ASSERT_NE(stream, nullptr);
        if (isBehind)
            file.FallBehind();
        const FileSizeLimit limit(1000);
        const std::string block(3000, 'x');
        fwrite(block.data(), 1, block.size(), stream);
        EXPECT_EQ(fflush(stream), EOF);
        EXPECT_FALSE(file.Drain());
        EXPECT_EQ(file.Error(), EFBIG);
        EXPECT_EQ(file.WrittenUpTo(), 1000U);
        EXPECT_EQ(fclose(stream), EOF);
    }
}
