#include "CameraStatus.h"
#include "BinaryOverlay.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using namespace libobribase;

static std::vector<int> flagsOf(const CameraStatus& s)
{
    return {s.m_flagA, s.m_flagB, s.m_flagC, s.m_flagD, s.m_flagE, s.m_flagF, s.m_highResolution};
}

TEST(CameraStatus, TakesEverySettingFromItsBitsOfTheOverlay)
{
    BinaryOverlay o;
    o.m_statusWords[0] = 1u << 10 | 1u << 11 | 2u << 2 | 1u << 5 | 3u << 24 | 1u << 29 | 1u << 21;
    o.m_statusWords[1] = 0xC8001234;
    o.m_statusWords[2] = 0xFFFF0102;
    o.m_statusWords[3] = 0x80050304;
    o.m_flagBit15 = 1;
    o.m_temperatureRaw = 0x0701;
    CameraStatus s;
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_THAT(flagsOf(s), testing::ElementsAre(0, 1, 0, 1, 1, 1, 1));
    const std::vector<int> values{s.m_twoBitValue, s.m_gain,        s.m_highGain,    s.m_exposure100us, s.m_value14a,
                                  s.m_value14b,    s.m_register16a, s.m_register16b, s.m_usbMode};
    EXPECT_THAT(values, testing::ElementsAre(2, 0xC8, 1, 0x1234, 0x3FFF, 5, 0x0102, 0x0304, 2));
    EXPECT_EQ(s.m_temperature, 7);
    o.m_statusWords[0] = ~o.m_statusWords[0];
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_THAT(flagsOf(s), testing::ElementsAre(1, 0, 1, 0, 0, 0, 0));
    EXPECT_EQ(s.m_updateCount, 2);
    o.m_temperatureRaw = 0;
    for (const auto& [raw, mode] : {std::pair{0u, 2}, {1u, 3}, {3u, 1}, {2u, 0}}) {
        o.m_statusWords[0] = raw << 24;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeSelect, mode);
    }
    EXPECT_EQ(s.m_temperature, 7);
    EXPECT_EQ(s.m_temperatureValid, 0);
    for (const auto& [code, index] : {std::pair{2, 1}, {4, 2}, {8, 3}, {16, 4}, {32, 0}, {0, 0}}) {
        o.m_modeCode = code;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeCodeIndex, index);
    }
}

TEST(CameraStatus, TakesARawBlockAndLeavesTheRest)
{
    unsigned char b[32] = {0x11, 0x20, 0x5E};
    for (const auto& [at, value] :
         {std::pair{7, 1}, {8, 2}, {9, 0x28}, {11, 9}, {12, 0xAB}, {13, 0x85}, {14, 1}, {15, 1}, {30, 3}, {31, 4}})
        b[at] = static_cast<unsigned char>(value);
    CameraStatus s;
    s.m_highGain = s.m_latitudeE7 = s.m_temperature = 5;
    s.UpdateFromBytes(b);
    EXPECT_THAT(flagsOf(s), testing::ElementsAre(1, 0, 1, 1, 1, 1, 1));
    const std::vector<int> values{s.m_modeSelect,    s.m_modeCodeIndex, s.m_twoBitValue, s.m_gain,
                                  s.m_exposure100us, s.m_value14a,      s.m_value14b,    s.m_register16a,
                                  s.m_register16b,   s.m_usbMode};
    EXPECT_THAT(values, testing::ElementsAre(3, 5, 2, 9, 0x0102, 0xAB, 5, 0x101, 0x0304, 1));
    const std::vector<int> rest{s.m_highGain, s.m_latitudeE7, s.m_temperature, s.m_updateCount};
    EXPECT_THAT(rest, testing::ElementsAre(5, 5, 5, 0));
    for (unsigned char& byte : b)
        byte = static_cast<unsigned char>(~byte);
    s.UpdateFromBytes(b);
    EXPECT_THAT(flagsOf(s), testing::ElementsAre(0, 1, 0, 0, 0, 0, 0));
    EXPECT_EQ(s.m_register16a, 0xFE); // the top bit went with byte 13
}

TEST(CameraStatus, LogsTheUsbModeWhenItChanges)
{
    const TemporaryFolder folder;
    CameraStatus s;
    unsigned char b[32] = {};
    b[14] = 200; // no other test leaves this one
    s.UpdateFromBytes(b);
    logOpen(".", '/');
    for (const unsigned char mode : {0, 0, 2, 2, 0}) {
        b[14] = mode;
        s.UpdateFromBytes(b);
    }
    logClose();
    std::string modes, log = folder.textOf("obri_app_log_");
    for (size_t at = log.find("  I USB "); at != std::string::npos; at = log.find("  I USB ", at + 1))
        modes += log.substr(at + 8, 2);
    EXPECT_EQ(modes, "0\n2\n0\n");
}
