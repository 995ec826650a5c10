#include "Log.h"
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
        logStringDouble("I double", 1.0005);
        logStringString("I text", "more");
        logOpen("", '/'); // an empty directory closes
    }
    logClose();
    logString("W after it was closed");
    const auto lines = linesOf(folder);
    ASSERT_EQ(lines.size(), 10u);
    const char* expected[] = {"I ---------- Application started ----------", "I number -5", "I double 1.000",
                              "I text more", "I ---------- Closing Log File ----------"};
    const std::regex stamp("20\\d\\d-[01]\\d-[0-3]\\d [0-2]\\d:[0-5]\\d:[0-5]\\d\\.\\d{3}  .*");
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(std::regex_match(lines[i], stamp)) << lines[i];
        EXPECT_EQ(lines[i].substr(25), expected[i % 5]);
    }
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
