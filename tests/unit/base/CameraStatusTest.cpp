#include "CameraStatus.h"
#include "BinaryOverlay.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

using namespace libobribase;
TEST(CameraStatus, TakesWhatPreviewAndFileNamesTell)
{
    BinaryOverlay o;
    o.m_statusWords[1] = 0xC8001234;
    o.m_flagBit15 = 1;
    CameraStatus s;
    for (const auto& [raw, mode] : {std::pair{0u, 2}, {1u, 3}, {3u, 1}, {2u, 0}}) {
        o.m_statusWords[0] = raw << 24;
        s.UpdateFromBinaryOverlay(&o);
        EXPECT_EQ(s.m_modeSelect, mode);
    }
    EXPECT_EQ(std::tie(s.m_gain, s.m_highGain, s.m_exposure100us), std::tuple(0xC8, 1, 0x1234));
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
