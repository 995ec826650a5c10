#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

using namespace libobribase;

TEST(Log, TwoRunsOfADayShareOneFileInTheWorkingDirectory)
{
    const TemporaryFolder folder;
    logString("W before the log is open");
    for (int run = 0; run < 2; ++run) {
        logOpen("/nowhere", '/');
        logStringInt("I number", -5);
        logStringDouble("I double", 1.0005);
        logStringString("I text", "more");
        logOpen("", '/'); // an empty directory closes
    }
    logClose();
    logString("W after it was closed");
    const std::string stamp = "20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}  ";
    std::string run;
    for (const char* text : {"I ---------- Application started ----------", "I number -5", "I double 1\\.000",
                             "I text more", "I ---------- Closing Log File ----------"})
        run += stamp + text + "\n";
    EXPECT_THAT(folder.textOf("obri_app_log_"), testing::MatchesRegex(run + run));
}

// Fails when whoever logs waits for a disk that stands still (here a pipe that nobody empties), or a line gets lost.
TEST(Log, IsWrittenBehindWithoutAWait)
{
    const TemporaryFolder folder;
    logOpen(".", '/');
    logClose();
    const std::string path = std::filesystem::directory_iterator(folder.path())->path();
    std::filesystem::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int disk = open(path.c_str(), O_RDWR);
    logOpen(".", '/');
    logWriteBehind();
    constexpr int sLines = 4000; // twice what the pipe holds
    for (int line = 0; line < sLines; ++line)
        logStringInt("I", line);
    const auto closed = std::async(std::launch::async, logClose);
    std::string text(1 << 20, '\0');
    size_t length = 0;
    while (text.find("Closing") == std::string::npos)
        length += static_cast<size_t>(read(disk, text.data() + length, text.size() - length));
    text.resize(length);
    close(disk);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), sLines + 2);
    EXPECT_THAT(text, testing::HasSubstr("  I " + std::to_string(sLines - 1) + "\n"));
}
