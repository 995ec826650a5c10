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
    return {s.m_modeSelect,    s.m_modeCodeIndex, s.m_twoBitValue, s.m_gain,        s.m_highGain,
            s.m_exposure100us, s.m_value14a,      s.m_value14b,    s.m_register16a, s.m_register16b,
            s.m_temperature,   s.m_usbMode,       s.m_updateCount};
}

TEST(CameraStatus, TakesEverySettingFromItsBitsOfTheOverlay)
{
    BinaryOverlay o;
    o.m_statusWords[0] = 2u << 2 | 3u << 24;
    o.m_statusWords[1] = 0xC8001234;
    o.m_statusWords[2] = 0xFFFF0102;
    o.m_statusWords[3] = 0x80050304;
    o.m_flagBit15 = 1;
    o.m_temperatureRaw = 0x0701;
    CameraStatus s;
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_THAT(valuesOf(s), ElementsAre(1, 0, 2, 0xC8, 1, 0x1234, 0x3FFF, 5, 0x0102, 0x0304, 7, 2, 1));
    o.m_temperatureRaw = 0;
    for (size_t flag = 0; const int bit : {28, 29, 9, 11, 10, 5, 21}) {
        std::vector<int> expected(7);
        expected[flag++] = 1;
        o.m_statusWords[0] = 1u << bit;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(flagsOf(s), expected) << bit;
    }
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

TEST(CameraStatus, LogsTheUsbModeWhenItChanges)
{
    const TemporaryFolder folder;
    logOpen(".", '/');
    for (const unsigned mode : {1u, 0u, 0u, 2u, 2u, 0u}) { // whatever the tests before left, 0 is new
        BinaryOverlay o;
        o.m_statusWords[3] = mode << 30;
        CameraStatus().UpdateFromBinaryOverlay(&o);
    }
    logClose();
    EXPECT_THAT(folder.textOf("obri_app_log_"), testing::ContainsRegex("  I USB 0\n[^U]*I USB 2\n[^U]*I USB 0\n"));
}
