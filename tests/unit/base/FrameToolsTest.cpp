#include "BinaryOverlay.h"
#include "GpsLogger.h"
#include "PhotometryBuffer.h"
#include "TemporaryFolder.h"
#include "ZoneMatrix.h"

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
    o.m_latitudeE7 = 473609694;
    o.m_longitudeE7 = -85000001;
    o.m_altitudeMm = 408123;
    for (int i = 0; i < 5; ++i)
        o.m_dop[i] = static_cast<uint16_t>(101 + i);
    CGpsLogger logger;
    logger.Log(&o); // not enabled: nothing
    for (int run = 0; run < 2; ++run) {
        EXPECT_TRUE(logger.Start(folder.path().string()));
        EXPECT_TRUE(logger.IsEnabled());
        logger.Log(&o);
        logger.Stop();
    }
    EXPECT_FALSE(logger.IsEnabled());
    const std::string row = "42;2024-03-05T06:07:08.009;2024-03-05T06:07:08.049;3;11;6;N47.3609694;W08.5000001;408.123;"
                            "1.01;1.02;1.03;1.04;1.05\r";
    EXPECT_EQ(folder.textOf("obri_gps_log_"), "FrameNr;FromTime;ToTime;FixState;NofSats;AccuracyM;Lat;Lon;HeightM;"
                                              "DOPG;DOPP;DOPT;DOPV;DOPH\r" +
                                                  row + row);
    EXPECT_FALSE(logger.Start(folder.path().string() + "/missing"));
    EXPECT_FALSE(logger.IsEnabled());
}

TEST(PhotometryBuffer, KeepsTheNewestWindowsOfAFrame)
{
    constexpr int sStride = 20;
    PhotometryBuffer buffer(4, 3, 8);
    std::vector<uint16_t> window(12), frame(2 * sStride + 4); // ends with the window's last pixel
    EXPECT_FALSE(buffer.read(0, window.data()));
    for (uint16_t n = 0; n < 11; ++n) {
        std::iota(frame.begin(), frame.end(), static_cast<uint16_t>(1000 * n));
        buffer.Produce(frame.data(), sStride);
    }
    EXPECT_EQ(buffer.producedCount(), 11u);
    ASSERT_TRUE(buffer.read(0, window.data()));
    EXPECT_EQ(window, (std::vector<uint16_t>{10000, 10001, 10002, 10003, 10020, 10021, 10022, 10023, 10040, 10041,
                                             10042, 10043}));
    ASSERT_TRUE(buffer.read(7, window.data()));
    EXPECT_EQ(window[11], 3043);
    EXPECT_EQ(buffer.sum(7), 12u * 3000 + 4 * 60 + 3 * 6);
    EXPECT_FALSE(buffer.read(8, window.data()));
    EXPECT_FALSE(buffer.read(-1, window.data()));
}

TEST(ZoneMatrix, CoversTheImageAndNothingBeyond)
{
    ZoneMatrix zones(1624, 1240);
    EXPECT_EQ(zones.columns(), 26);
    EXPECT_EQ(zones.rows(), 20);
    EXPECT_FALSE(zones.isEnabled());
    zones.setZoneEnabled(25, 19, true);
    zones.setZoneEnabled(26, 0, true); // would be the first of the next row
    EXPECT_TRUE(zones.isZoneEnabled(25, 19));
    for (auto [x, y] : {std::pair{24, 19}, {26, 0}, {0, 1}, {-1, 0}, {0, -1}, {0, 20}})
        EXPECT_FALSE(zones.isZoneEnabled(x, y)) << x << ' ' << y;
    zones.setAllZonesEnabled(true);
    EXPECT_TRUE(zones.isZoneEnabled(0, 0));
    EXPECT_FALSE(zones.isZoneEnabled(-1, 0));
    EXPECT_EQ(ZoneMatrix(64, 65).rows() * 10 + ZoneMatrix(64, 65).columns(), 21);
    EXPECT_EQ(ZoneMatrix(0, 5).columns(), 0);
}
