#include "ObriFileUtils.h"

#include "CameraStatus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <locale>

using libobrifile::ObriFileUtils;

namespace {
struct SNameCase {
    std::string name;
    int withNumber;
    char type;
    int exposure100us;
    const char* pattern;
};
} // namespace

class FitsFileName : public testing::TestWithParam<SNameCase> {};
TEST_P(FitsFileName, TellsDateAndSettings)
{
    libobribase::CameraStatus status;
    status.m_gain = 7;
    status.m_highGain = GetParam().exposure100us == 400;
    status.m_exposure100us = static_cast<uint16_t>(GetParam().exposure100us);
    EXPECT_THAT(ObriFileUtils::CreateFileName("fits", GetParam().withNumber, GetParam().type, &status, 1624, 1240),
                testing::MatchesRegex(GetParam().pattern));
}
INSTANTIATE_TEST_SUITE_P(
    Of, FitsFileName,
    testing::Values(SNameCase{"Sequence", 1, 0, 400, "20[0-9]{6}_[0-9]{6}_1624x1240_G7H_40ms_\\[FRAMENR\\]\\.fits"},
                    SNameCase{"Light", 0, 0, 1, "20[0-9]{6}_[0-9]{6}_1624x1240_G7_0\\.1ms\\.fits"},
                    SNameCase{"Dark", 0, 'D', 125, "D20[0-9]{6}_1624_12\\.5ms\\.fits"},
                    SNameCase{"Flat", 1, 'F', 1000, "F20[0-9]{6}_1624_100ms_\\[FRAMENR\\]\\.fits"},
                    SNameCase{"Picture", 0, 'P', 65535, "P20[0-9]{6}_[0-9]{6}_1624x1240_G7_6553\\.5ms\\.fits"}),
    [](const auto& test) { return test.param.name; });

TEST(FitsFileNameLocale, NumbersAreNotGrouped)
{
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    libobribase::CameraStatus status;
    const std::string name = ObriFileUtils::CreateFileName("fits", 0, 'D', &status, 1624, 1240);
    std::locale::global(before);
    EXPECT_EQ(name.find(','), std::string::npos) << name;
}
