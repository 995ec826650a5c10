#include "Log.h"
#include "PerformanceUtil.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <regex>
#include <thread>

using namespace libobribase;

namespace {

std::vector<std::string> linesOf(const TemporaryFolder& folder)
{
    std::vector<std::string> lines;
    std::istringstream text(folder.textOf("obri_app_log_"));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

TEST(Log, TwoRunsOfADayShareOneFileInTheWorkingDirectory)
{
    const TemporaryFolder folder;
    logString("W before the log is open");
    for (int run = 0; run < 2; ++run) {
        logOpen("/nowhere", '/');
        logStringInt("I number", -5);
        logStringIntInt("I numbers", 1, 2);
        logStringDouble("I double", 1.0005);
        logStringString("I text", "more");
        logOpen("", '/'); // an empty directory closes
    }
    logClose();
    logString("W after it was closed");
    const auto lines = linesOf(folder);
    ASSERT_EQ(lines.size(), 12u);
    const char* expected[] = {
        "I ---------- Application started ----------", "I number -5", "I numbers 1 2", "I double 1.000", "I text more",
        "I ---------- Closing Log File ----------"};
    const std::regex stamp("20\\d\\d-[01]\\d-[0-3]\\d [0-2]\\d:[0-5]\\d:[0-5]\\d\\.\\d{3}  .*");
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(std::regex_match(lines[i], stamp)) << lines[i];
        EXPECT_EQ(lines[i].substr(25), expected[i % 6]);
    }
}

TEST(Log, CutsTextsPutTogetherFromParts)
{
    const TemporaryFolder folder;
    logOpen(".", '/');
    logStringInt(std::string(1100, 'x'), 7);
    logString(std::string(1100, 'y'));
    logClose();
    const auto lines = linesOf(folder);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1].substr(25), std::string(1023, 'x'));
    EXPECT_EQ(lines[2].substr(25), std::string(1100, 'y'));
}

TEST(Log, LinesOfTwoThreadsStayWholeAlsoWhileItOpensAndCloses)
{
    const TemporaryFolder folder;
    const auto write = [](char letter) {
        for (int i = 0; i < 300; ++i)
            logString(std::string(200, letter));
    };
    logOpen(".", '/');
    std::thread a(write, 'a'), b(write, 'b');
    for (int i = 0; i < 20; ++i) {
        logOpen("", '/');
        logOpen(".", '/');
    }
    a.join();
    b.join();
    logClose();
    for (const std::string& line : linesOf(folder))
        EXPECT_TRUE(line.size() < 70 || line.substr(25) == std::string(200, line[25])) << line;
}

TEST(PerformanceUtil, KeepsTheBorrowedSecondUntilReset)
{
    PerformanceUtil watch;
    watch.ResetAt(10, 900000000);
    EXPECT_EQ(watch.MeasureMicrosecondsAt(10, 900123456), 123u);
    EXPECT_EQ(watch.MeasureMicrosecondsAt(11, 100123456), 200000u);
    EXPECT_EQ(static_cast<int64_t>(watch.MeasureMicrosecondsAt(11, 100223456)), 100 - 1000000);
    EXPECT_EQ(watch.MeasureMicrosecondsAt(13, 100323456), 100u + 1000000);
    watch.ResetAt(13, 100323456);
    EXPECT_EQ(watch.MeasureMicrosecondsAt(13, 100423456), 100u);
}
