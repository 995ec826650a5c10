#include "ObriFileUtils.h"

#include "CameraStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <locale>

// Date and settings; numbers are not grouped, whatever the locale.
TEST(FitsFileName, TellsDateAndSettings)
{
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const auto expectName = [](int withNumber, char type, int exposure100us, const char* pattern) {
        libobribase::CameraStatus status;
        status.m_gain = 7;
        status.m_highGain = exposure100us == 400;
        status.m_exposure100us = static_cast<uint16_t>(exposure100us);
        EXPECT_THAT(libobrifile::ObriFileUtils::CreateFileName("fits", withNumber, type, &status, 1624, 1240),
                    testing::MatchesRegex(pattern));
    };
    expectName(1, 0, 400, "20[0-9]{6}_[0-9]{6}_1624x1240_G7H_40ms_\\[FRAMENR\\]\\.fits");
    expectName(0, 0, 1, "20[0-9]{6}_[0-9]{6}_1624x1240_G7_0\\.1ms\\.fits");
    expectName(0, 'D', 125, "D20[0-9]{6}_1624_12\\.5ms\\.fits");
    expectName(1, 'F', 1000, "F20[0-9]{6}_1624_100ms_\\[FRAMENR\\]\\.fits");
    expectName(0, 'P', 65535, "P20[0-9]{6}_[0-9]{6}_1624x1240_G7_6553\\.5ms\\.fits");
    std::locale::global(before);
}
