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
    const SOptions o = parseOptions({"--video-node=9", "--xu-error", "EPIPE,3,2", "--occult", "1.5,0.25,10", "--depth",
                                     "0.5", "--pace", "buffers", "--year", "2059,4"});
    EXPECT_EQ(o.videoNode, 9);
    EXPECT_EQ(o.xuError.error, EPIPE);
    EXPECT_EQ(o.occultation, (SOccultation{1'500'000'000, 250'000'000, 10'000'000'000, 0.5}));
    EXPECT_EQ(o.year, 2059);
    const FaultCounter year(o.badYear);
    EXPECT_FALSE(year.covers(3));
    EXPECT_TRUE(year.covers(4));
}

TEST(SimulatorOptions, WrongOnesAreRefused)
{
    const std::vector<std::string> wrong[] = {
        {"--nothing"},         {"--fps"},         {"--fps", "1001"}, {"--fps", "10x"},   {"--xu-error", "EWHAT"},
        {"--stall", "1,2,3"},  {"--occult", "1"}, {"--help=1"},      {"--depth", "nan"}, {"--seed", ""},
        {"--video-node", "61"}};
    for (const auto& arguments : wrong)
        EXPECT_THROW(parseOptions(arguments), std::invalid_argument) << arguments[0];
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
    EXPECT_EQ(nearestMode(640, 480).words, 612u);
    EXPECT_EQ(nearestMode(1624, 1240).words, 1218u);
    EXPECT_EQ(nearestMode(0, 0).words, 176u);
    EXPECT_EQ(nearestMode(UINT32_MAX, UINT32_MAX).words, 1218u);
}

TEST(Commands, SetOneThingEach)
{
    const std::pair<std::array<uint8_t, sCommandBytes>, SSettings> commands[] = {
        {{0x69, 0x03, 0xe8}, {.exposureMs = 1000}},
        {{0x69}, {.exposureMs = 1}},
        {{0x6e, 48}, {.gainDb = 48}},
        {{0x71, 1}, {.highGain = true}},
        {{0x68, 1, 0x2c}, {.blackLevel = 300}},
        {{0x6a, 1}, {.inverted = true}},
        {{0x6d, 1}, {.flipX = true}},
        {{0x6d, 2}, {.flipY = true}},
        {{0x00, 1}, {.darkRows = true}},
        {{0x01, 0}, {.binaryOnly = false}},
        {{0x70, 1}, {.underControl = true}},
        {{0x99, 1, 2, 3, 4}, {}}};
    for (const auto& [bytes, expected] : commands) {
        SSettings settings;
        EXPECT_EQ(applyCommand(settings, bytes), bytes[0] != 0x99);
        EXPECT_EQ(settings, expected) << int{bytes[0]};
    }
}
