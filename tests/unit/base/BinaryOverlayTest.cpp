#include "BinaryOverlay.h"
#include "OverlayRow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace libobribase;

static BinaryOverlay parsed(const OverlayRow& row)
{
    BinaryOverlay overlay;
    overlay.ParseBinaryOverlay(row.row());
    return overlay;
}

TEST(BinaryOverlay, DecodesEveryFieldFromItsPlace)
{
    OverlayRow row;
    for (const auto& [at, value] :
         {std::pair{40, 1624}, {42, 1240}, {48, 16}, {50, 0xABCD}, {60, 0x8001}, {72, 300}, {96, 0x9501}})
        row.u16(at, static_cast<uint16_t>(value));
    for (const auto& [at, value] :
         {std::pair{52, 2}, {56, 345678901}, {64, -337654321}, {68, 1512345678}, {76, -1500}, {98, -0x01234568}})
        row.u32(at, static_cast<uint32_t>(value));
    for (int i = 0; i < 4; ++i)
        row.u32(80 + 4 * i, 0xA0B0C000u + static_cast<uint32_t>(i));
    for (const auto& [at, value] : {std::pair{44, 1}, {45, 3}, {74, 0xFF}, {75, 12}})
        row.byte(at, value);
    for (int i = 0; i < 10; ++i)
        row.byte(102 + i, 0x10 + i);
    row.seal();

    const BinaryOverlay o = parsed(row);
    ASSERT_TRUE(o.m_isValid);
    EXPECT_TRUE(o.m_timeFlag);
    EXPECT_EQ(o.m_modeCode, 16);
    EXPECT_EQ(o.m_modeValue, 0xABCD);
    EXPECT_EQ(o.m_flagBit15, 1);
    EXPECT_THAT(o.m_statusWords, testing::ElementsAre(0xA0B0C000u, 0xA0B0C001u, 0xA0B0C002u, 0xA0B0C003u));
    EXPECT_EQ(o.m_dopTime, 0xFEDCBA98u);
    EXPECT_THAT(o.m_dop, testing::ElementsAre(0x1110, 0x1312, 0x1514, 0x1716, 0x1918));
    EXPECT_EQ(o.ToString(), "20240305 06:07:08.250-06:07:08.289 - 16909060 - 1624x1240 - 2x4 - 2345ms - "
                            "GPS S33.7654321,E151.2345678,H-1m (300m) 000000ff 12 - a0b0c000 a0b0c001 - V321\n");
    int degrees = 0;
    EXPECT_TRUE(o.GetTemperature(&degrees));
    EXPECT_EQ(degrees, -21);
    row.u16(96, 0x9500); // no reading
    EXPECT_FALSE(parsed(row).GetTemperature(&degrees));
    EXPECT_EQ(degrees, -21);
}

TEST(BinaryOverlay, IsFoundAtThreeBasesAndStaysThere)
{
    for (int base : {0, 1, -2}) {
        OverlayRow row(base);
        row.seal();
        BinaryOverlay overlay;
        for (int twice = 0; twice < 2; ++twice) { // at a base of 1 the preamble is its own word 2, and found again
            overlay.ParseBinaryOverlay(row.row());
            EXPECT_EQ(overlay.m_isValid, 1) << base;
            EXPECT_EQ(overlay.m_offset, base);
        }
    }
    OverlayRow both(-2); // seems to begin at 1 as well
    both.byte(5, 'T');
    both.byte(6, 'S');
    both.seal();
    EXPECT_EQ(parsed(both).m_offset, -2);
}

TEST(BinaryOverlay, ChecksumAndAltitudeDependOnTheLayoutVersion)
{
    for (int version : {3, 5, 6}) {
        OverlayRow row(0, version);
        row.u32(76, 4000);
        row.low(50, 1); // no checksum fits
        const BinaryOverlay o = parsed(row);
        EXPECT_EQ(o.m_isValid, version < 6) << version;
        EXPECT_EQ(o.m_altitudeMm, version == 5 ? 4000 : 0);
    }
    OverlayRow row;
    row.byte(19, 0xFE);
    for (const unsigned last : {0xFFu, 0x55u}) { // 255 counts as 0, also where either sum ends
        for (int i = 2; i < 126; ++i)
            row.low(i, i < 124 ? 0xFF : last);
        row.low(127, last * 2 % 255);
        EXPECT_TRUE(parsed(row).m_isValid) << last;
    }
    EXPECT_FALSE(parsed(row).m_timeFlag);
}
