#include "CameraStatus.h"
#include "BinaryOverlay.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

using namespace libobribase;
using testing::ElementsAre;

static std::vector<int> flagsOf(const CameraStatus& s)
{
    return {s.m_flagA, s.m_flagB, s.m_flagC, s.m_flagD, s.m_flagE, s.m_flagF, s.m_highResolution};
}

static std::vector<int> valuesOf(const CameraStatus& s)
{
    return {s.m_modeSelect, s.m_modeCodeIndex, s.m_twoBitValue, s.m_gain,        s.m_highGain,    s.m_exposure100us,
            s.m_value14a,   s.m_value14b,      s.m_register16a, s.m_register16b, s.m_temperature, s.m_updateCount};
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
    EXPECT_THAT(flagsOf(s), ElementsAre(0, 1, 0, 1, 1, 1, 1));
    EXPECT_THAT(valuesOf(s), ElementsAre(1, 0, 2, 0xC8, 1, 0x1234, 0x3FFF, 5, 0x0102, 0x0304, 7, 1));
    o.m_statusWords[0] = ~o.m_statusWords[0];
    o.m_temperatureRaw = 0;
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_THAT(flagsOf(s), ElementsAre(1, 0, 1, 0, 0, 0, 0));
    EXPECT_EQ(s.m_temperature, 7);
    EXPECT_EQ(s.m_temperatureValid, 0);
    for (const auto& [raw, mode, code, index] :
         {std::tuple{0u, 2, 2, 1}, {1u, 3, 4, 2}, {3u, 1, 8, 3}, {2u, 0, 16, 4}, {0u, 2, 32, 0}}) {
        o.m_statusWords[0] = raw << 24;
        o.m_modeCode = code;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeSelect, mode);
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
    s.m_highGain = s.m_temperature = 7;
    s.UpdateFromBytes(b);
    EXPECT_THAT(flagsOf(s), ElementsAre(1, 0, 1, 1, 1, 1, 1));
    EXPECT_THAT(valuesOf(s), ElementsAre(3, 5, 2, 9, 7, 0x0102, 0xAB, 5, 0x101, 0x0304, 7, 0));
}

TEST(CameraStatus, LogsTheUsbModeWhenItChanges)
{
    const TemporaryFolder folder;
    logOpen(".", '/');
    for (const unsigned mode : {1u, 0u, 0u, 2u, 2u, 0u}) {
        BinaryOverlay o;
        o.m_statusWords[3] = mode << 30;
        CameraStatus s;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_usbMode, static_cast<int>(mode));
    }
    logClose();
    std::string modes, log = folder.textOf("obri_app_log_");
    for (size_t at = log.find("  I USB "); at != std::string::npos; at = log.find("  I USB ", at + 1))
        modes += log[at + 8];
    EXPECT_THAT(modes, testing::EndsWith("020"));
    EXPECT_LE(modes.size(), 4u);
}
