#include "Log.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <vector>

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
    std::vector<std::string> lines;
    std::istringstream text(folder.textOf("obri_app_log_"));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 10u);
    const char* expected[] = {"I ---------- Application started ----------", "I number -5", "I double 1.000",
                              "I text more", "I ---------- Closing Log File ----------"};
    const std::regex stamp("20\\d\\d-[01]\\d-[0-3]\\d [0-2]\\d:[0-5]\\d:[0-5]\\d\\.\\d{3}  .*");
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(std::regex_match(lines[i], stamp)) << lines[i];
        EXPECT_EQ(lines[i].substr(25), expected[i % 5]);
    }
}
