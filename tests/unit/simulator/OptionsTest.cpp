#include "Options.h"
#include "Environment.h"
#include "FaultCounter.h"
#include "SensorMode.h"
#include "Settings.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace obrisim;

TEST(SimulatorOptions, SetWhatTheySay)
{
    const SOptions o = parseOptions({"--video-node=9", "--metadata-node", "10", "--xu-error", "EPIPE,3,2", "--occult",
                                     "1.5,0.25,10", "--depth", "0.5", "--pace", "buffers", "--year", "2059,4"});
    EXPECT_EQ(o.videoNode, 9);
    EXPECT_EQ(o.metadataNode, 10);
    EXPECT_EQ(o.xuError.error, EPIPE);
    EXPECT_EQ(o.occultation, (SOccultation{1'500'000'000, 250'000'000, 10'000'000'000, 0.5}));
    EXPECT_TRUE(o.paceByBuffers);
    EXPECT_EQ(o.year, 2059);
    const FaultCounter year(o.badYear);
    EXPECT_FALSE(year.covers(3));
    EXPECT_TRUE(year.covers(4));
}

class WrongSimulatorOption : public testing::TestWithParam<std::vector<std::string>> {};
TEST_P(WrongSimulatorOption, IsRefusedWithItsName)
{
    try {
        parseOptions(GetParam());
        FAIL() << "accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find(GetParam().front().substr(0, GetParam().front().find('='))),
                  std::string::npos);
    }
}
INSTANTIATE_TEST_SUITE_P(
    All, WrongSimulatorOption,
    testing::Values(std::vector<std::string>{"--nothing"}, std::vector<std::string>{"--fps"},
                    std::vector<std::string>{"--fps", "1001"}, std::vector<std::string>{"--fps", "10x"},
                    std::vector<std::string>{"--xu-error", "EWHAT"}, std::vector<std::string>{"--stall", "1,2,3"},
                    std::vector<std::string>{"--occult", "1"}, std::vector<std::string>{"--help=1"},
                    std::vector<std::string>{"--depth", "nan"}, std::vector<std::string>{"--seed", ""},
                    std::vector<std::string>{"--video-node", "61"}));

TEST(FaultCounter, StrikesAfterSomeForACount)
{
    FaultCounter some({true, EIO, 2, 1}), none({});
    EXPECT_EQ(some.error(), 0);
    EXPECT_EQ(some.error(), 0);
    EXPECT_EQ(some.error(), EIO);
    EXPECT_EQ(some.error(), 0);
    EXPECT_FALSE(none.strikes());
}

TEST(Environment, ArgumentsAndOriginComeBack)
{
    const std::vector<std::string> arguments{"--name", "OBRI+CAM of ours", "--seed", "", "--scene=a,b"};
    EXPECT_EQ(splitArguments(joinArguments(arguments)), arguments);
    const SOrigin origin = parseOrigin(formatOrigin({1'700'000'000'123'456'789, 42}));
    EXPECT_EQ(origin.utcNs, 1'700'000'000'123'456'789);
    EXPECT_EQ(origin.monotonicNs, 42);
}

TEST(SensorModes, UnknownSizesGetTheNearest)
{
    const auto nearest = [](uint32_t w, uint32_t h) {
        const SSensorMode& mode = nearestMode(w, h);
        return std::pair(mode.words, mode.height);
    };
    EXPECT_EQ(nearest(640, 480), std::pair(612, 620));
    EXPECT_EQ(nearest(1624, 1240), std::pair(1218, 1240));
    EXPECT_EQ(nearest(0, 0), std::pair(176, 128));
    EXPECT_EQ(nearest(UINT32_MAX, UINT32_MAX), std::pair(1218, 1240));
}

struct SCommandCase {
    std::string name;
    std::array<uint8_t, sCommandBytes> bytes;
    SSettings expected;
};
class Command : public testing::TestWithParam<SCommandCase> {};
TEST_P(Command, SetsOneThing)
{
    SSettings settings;
    EXPECT_TRUE(applyCommand(settings, GetParam().bytes));
    EXPECT_EQ(settings, GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(All, Command,
                         testing::Values(SCommandCase{"Exposure", {0x69, 0x03, 0xe8, 0, 0}, {.exposureMs = 1000}},
                                         SCommandCase{"NoExposureAtAll", {0x69, 0, 0, 0, 0}, {.exposureMs = 1}},
                                         SCommandCase{"Gain", {0x6e, 48, 0, 0, 0}, {.gainDb = 48}},
                                         SCommandCase{"HighGain", {0x71, 1, 0, 0, 0}, {.highGain = true}},
                                         SCommandCase{"BlackLevel", {0x68, 1, 0x2c, 0, 0}, {.blackLevel = 300}},
                                         SCommandCase{"Inversion", {0x6a, 1, 0, 0, 0}, {.inverted = true}},
                                         SCommandCase{"FlipX", {0x6d, 1, 0, 0, 0}, {.flipX = true}},
                                         SCommandCase{"FlipY", {0x6d, 2, 0, 0, 0}, {.flipY = true}},
                                         SCommandCase{"DarkRows", {0x00, 1, 0, 0, 0}, {.darkRows = true}},
                                         SCommandCase{"Text", {0x01, 0, 0, 0, 0}, {.binaryOnly = false}},
                                         SCommandCase{"Control", {0x70, 1, 0, 0, 0}, {.underControl = true}}),
                         [](const auto& kase) { return kase.param.name; });

TEST(UnknownCommand, ChangesNothing)
{
    SSettings settings;
    EXPECT_FALSE(applyCommand(settings, std::array<uint8_t, 5>{0x99, 1, 2, 3, 4}));
    EXPECT_EQ(settings, SSettings{});
}
