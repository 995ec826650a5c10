#include "CameraStatus.h"
#include "BinaryOverlay.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace libobribase;

TEST(CameraStatus, TakesEverySettingFromItsBitsOfTheOverlay)
{
    BinaryOverlay o;
    o.m_statusWords[0] = 1u << 10 | 1u << 11 | 2u << 2 | 1u << 5 | 3u << 24 | 1u << 29 | 1u << 21;
    o.m_statusWords[1] = 0xC8001234;
    o.m_statusWords[2] = 0xFFFF0102;
    o.m_statusWords[3] = 0x80050304;
    o.m_flagBit15 = 1;
    o.m_latitudeE7 = -5;
    o.m_fixState = 3;
    o.m_timeFlag = true;
    o.m_dop[4] = 77;
    o.m_temperatureRaw = 0x0701;
    CameraStatus s;
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_EQ(s.m_flagE, 1);
    EXPECT_EQ(s.m_flagC, 0);
    EXPECT_EQ(s.m_flagD, 1);
    EXPECT_EQ(s.m_twoBitValue, 2);
    EXPECT_EQ(s.m_flagF, 1);
    EXPECT_EQ(s.m_flagA, 0);
    EXPECT_EQ(s.m_flagB, 1);
    EXPECT_EQ(s.m_highResolution, 1);
    EXPECT_EQ(s.m_gain, 0xC8);
    EXPECT_EQ(s.m_exposure100us, 0x1234);
    EXPECT_EQ(s.m_value14a, 0x3FFF);
    EXPECT_EQ(s.m_register16a, 0x0102);
    EXPECT_EQ(s.m_usbMode, 2);
    EXPECT_EQ(s.m_value14b, 5);
    EXPECT_EQ(s.m_register16b, 0x0304);
    EXPECT_EQ(s.m_highGain, 1);
    EXPECT_EQ(s.m_latitudeE7, -5);
    EXPECT_EQ(s.m_fixState, 3);
    EXPECT_EQ(s.m_timeFlag, 1);
    EXPECT_EQ(s.m_dop[4], 77);
    EXPECT_EQ(s.m_temperature, 7);
    EXPECT_EQ(s.m_updateCount, 1);

    o.m_temperatureRaw = 0;
    s.UpdateFromBinaryOverlay(&o);
    EXPECT_EQ(s.m_temperature, 7);
    EXPECT_EQ(s.m_temperatureValid, 0);
}

TEST(CameraStatus, MapsModes)
{
    CameraStatus s;
    BinaryOverlay o;
    for (auto [raw, mode] : {std::pair{0u, 2}, {1u, 3}, {3u, 1}, {2u, 0}}) {
        o.m_statusWords[0] = raw << 24;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeSelect, mode);
    }
    for (auto [code, index] : {std::pair{2, 1}, {4, 2}, {8, 3}, {16, 4}, {32, 0}, {0, 0}}) {
        o.m_modeCode = code;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeCodeIndex, index);
    }
}

TEST(CameraStatus, TakesARawBlockAndLeavesTheRest)
{
    unsigned char b[32] = {};
    b[0] = 0x11;
    b[1] = 0x20;
    b[2] = 0x5E;
    b[7] = 0x01;
    b[8] = 0x02;
    b[9] = 0x28;
    b[11] = 9;
    b[13] = 0x80;
    b[14] = 1;
    b[15] = 0x01;
    b[30] = 3;
    b[31] = 4;
    CameraStatus s;
    s.m_highGain = 1;
    s.UpdateFromBytes(b);
    EXPECT_EQ(s.m_modeSelect, 3);
    EXPECT_EQ(s.m_flagA, 1);
    EXPECT_EQ(s.m_flagB, 0);
    EXPECT_EQ(s.m_highResolution, 1);
    EXPECT_EQ(s.m_flagE, 1);
    EXPECT_EQ(s.m_flagC, 1);
    EXPECT_EQ(s.m_flagD, 1);
    EXPECT_EQ(s.m_modeCodeIndex, 5);
    EXPECT_EQ(s.m_exposure100us, 0x0102);
    EXPECT_EQ(s.m_twoBitValue, 2);
    EXPECT_EQ(s.m_flagF, 1);
    EXPECT_EQ(s.m_gain, 9);
    EXPECT_EQ(s.m_value14b, 0);
    EXPECT_EQ(s.m_register16a, 0x101);
    EXPECT_EQ(s.m_register16b, 0x0304);
    EXPECT_EQ(s.m_highGain, 1);
    EXPECT_EQ(s.m_updateCount, 0);
}

TEST(CameraStatus, LogsTheUsbModeWhenItChanges)
{
    const TemporaryFolder folder;
    CameraStatus s;
    unsigned char b[32] = {};
    b[14] = 200; // no other test leaves this one
    s.UpdateFromBytes(b);
    b[14] = 0;
    logOpen("/tmp", '/');
    for (int twice = 0; twice < 2; ++twice)
        s.UpdateFromBytes(b);
    logClose();
    const std::string log = folder.textOf("obri_app_log_");
    const size_t first = log.find("  I USB 0\n");
    EXPECT_NE(first, std::string::npos);
    EXPECT_EQ(log.find("I USB", first + 5), std::string::npos);
}
