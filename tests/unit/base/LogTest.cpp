#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
