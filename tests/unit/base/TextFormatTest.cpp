#include "TextFormat.h"
#include "JsonValue.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>

using namespace libobribase;

TEST(Numbers, DoNotFollowTheLocale)
{
    const TemporaryFolder folder;
    const std::string command = "localedef -i de_DE -f UTF-8 " + folder.path().string() + "/de_DE.UTF-8 2>/dev/null";
    if (system(command.c_str()) != 0)
        GTEST_SKIP() << "no German locale can be made here";
    setenv("LOCPATH", folder.path().c_str(), 1);
    ASSERT_NE(setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    EXPECT_EQ(formatFixed(-0.126, 2, 7), "  -0.13");
    EXPECT_EQ(formatFixed(-1.7976931348623157e308, 3).size(), 1 + 309 + 1 + 3u);
    double value = 0;
    EXPECT_TRUE(parseDouble("2.25 mm", &value));
    EXPECT_EQ(value, 2.25);
    logOpen(".", '/');
    logStringDouble("I value", 0.25);
    logClose();
    EXPECT_THAT(folder.textOf("obri_app_log_"), testing::HasSubstr("I value 0.250\n"));
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

TEST(ParseDouble, TakesNumbersOnly)
{
    double value = 7;
    for (const char* bad : {"", "-", "+", "+-1", "abc", "nan", "inf", "-inf", ",5"})
        EXPECT_FALSE(parseDouble(bad, &value)) << bad;
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(parseDouble("-12e2,", &value));
    EXPECT_EQ(value, -1200);
}

TEST(JsonValue, FindsTheFirstOfTheOutermostObjectAndRefusesWhatIsNoJson)
{
    std::string value;
    const char* text = " { \"b\": {\"x\": [1, {\"c\":\"}\"}], \"a\": 1} , \"n\" : [-1.5E+3 , true, null, {}],"
                       "\"a\":\"a\\\"\\u00e9\\ud83d\\ude00\\n\", \"a\":2}";
    EXPECT_TRUE(jsonValue(text, "a", &value));
    EXPECT_EQ(value, "a\"\u00e9\U0001F600\n");
    EXPECT_TRUE(jsonValue(text, "n", &value));
    EXPECT_EQ(value, "[-1.5E+3 , true, null, {}]");
    const std::string deep = "{\"a\":" + std::string(100000, '['); // and does not exhaust the stack
    for (const char* bad : {"", "[1]", "{\"a\"", "{\"a\":", "{\"a\":}", "{\"a\":01}", "{\"a\":1", "{\"a\":\"x", "{a:1}",
                            "{\"a\":tru}", "{\"a\":[1,]}", "{\"b\":[}, \"a\":1}", "{\"a\":\"\\ud800\\u0041\"}",
                            "{\"a\":\"\\x\"}", "{\"a\":\"\n\"}", "{\"a\":-}", "{\"a\":1.}", deep.c_str()})
        EXPECT_FALSE(jsonValue(bad, "a", &value)) << bad;
}
