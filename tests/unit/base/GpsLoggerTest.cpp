#include "GpsLogger.h"
#include "BinaryOverlay.h"
#include "Log.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

using namespace libobribase;

TEST(GpsLogger, WritesOneHeaderADayAndOneRowACall)
{
    const TemporaryFolder folder;
    BinaryOverlay o;
    o.m_frameId = 42;
    o.m_fromTime = {2024, 3, 5, 6, 7, 8, 9};
    o.m_toTime = {2024, 3, 5, 6, 7, 8, 49};
    o.m_fixState = 3;
    o.m_nofSats = 11;
    o.m_accuracyM = 6;
    o.m_latitudeE7 = 5;
    o.m_longitudeE7 = INT32_MIN;
    o.m_altitudeMm = 408123;
    std::iota(o.m_dop, o.m_dop + 5, uint16_t{101});
    CGpsLogger logger;
    for (int run = 0; run < 2; ++run) {
        logger.Log(&o); // not enabled: nothing
        EXPECT_TRUE(logger.Start("."));
        logger.Log(&o);
        logger.Stop();
    }
    const std::string row = "42;2024-03-05T06:07:08.009;2024-03-05T06:07:08.049;3;11;6;N00.0000005;W214.7483648;"
                            "408.123;1.01;1.02;1.03;1.04;1.05\r";
    const char header[] =
        "FrameNr;FromTime;ToTime;FixState;NofSats;AccuracyM;Lat;Lon;HeightM;DOPG;DOPP;DOPT;DOPV;DOPH\r";
    EXPECT_EQ(folder.textOf("obri_gps_log_"), header + row + row);
    logOpen(".", '/');
    EXPECT_FALSE(logger.Start("missing"));
    logClose();
    EXPECT_THAT(folder.textOf("obri_app_log_"),
                testing::HasSubstr("  E Failed to open CSV file for GPS status recording\n"));
}
