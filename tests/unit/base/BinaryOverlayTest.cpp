#include "BinaryOverlay.h"
#include "OverlayRow.h"

#include <gtest/gtest.h>

#include <memory>

using namespace libobribase;

namespace {

BinaryOverlay parsed(const OverlayRow& row)
{
    BinaryOverlay overlay;
    overlay.ParseBinaryOverlay(row.row());
    return overlay;
}

} // namespace

TEST(BinaryOverlay, DecodesEveryFieldFromItsPlace)
{
    OverlayRow row;
    row.u16(40, 1624);
    row.u16(42, 1240);
    row.byte(44, 1);
    row.byte(45, 3);
    row.u16(48, 16);
    row.u16(50, 0xABCD);
    row.u32(52, 2);
    row.u32(56, 345678901);
    row.u16(60, 0x8001);
    row.u32(64, static_cast<uint32_t>(-337654321));
    row.u32(68, 1512345678);
    row.u16(72, 300);
    row.byte(74, 0xFF);
    row.byte(75, 12);
    row.u32(76, static_cast<uint32_t>(-1500));
    for (int i = 0; i < 4; ++i)
        row.u32(80 + 4 * i, 0xA0B0C000u + static_cast<uint32_t>(i));
    row.u16(96, 0x9501);
    row.u32(98, 0xFEDCBA98);
    for (int i = 0; i < 10; ++i)
        row.byte(102 + i, 0x10 + i);
    row.seal();

    const BinaryOverlay o = parsed(row);
    ASSERT_TRUE(o.m_isValid);
    EXPECT_EQ(o.m_layoutVersion, 6);
    EXPECT_EQ(BinaryOverlay::FormatDateTime(&o.m_fromTime), "2024-03-05T06:07:08.250");
    EXPECT_EQ(BinaryOverlay::FormatDateTime(&o.m_toTime), "2024-03-05T06:07:08.289");
    EXPECT_TRUE(o.m_timeFlag);
    EXPECT_EQ(o.m_modeCode, 16);
    EXPECT_EQ(o.m_modeValue, 0xABCD);
    EXPECT_EQ(o.m_flagBit15, 1);
    EXPECT_EQ(o.m_statusWords[2], 0xA0B0C002u);
    EXPECT_EQ(o.m_statusWords[3], 0xA0B0C003u);
    EXPECT_EQ(o.m_dopTime, 0xFEDCBA98u);
    EXPECT_EQ(o.m_dop[0], 0x1110);
    EXPECT_EQ(o.m_dop[4], 0x1918);
    int degrees = 0;
    EXPECT_TRUE(o.GetTemperature(&degrees));
    EXPECT_EQ(degrees, -21);
    EXPECT_EQ(o.ToString(), "20240305 06:07:08.250-06:07:08.289 - 16909060 - 1624x1240 - 2x4 - 2345ms - "
                            "GPS S33.7654321,E151.2345678,H-1m (300m) 000000ff 12 - a0b0c000 a0b0c001 - V321\n");
}

TEST(BinaryOverlay, IsFoundAtThreeBasesAndStaysThere)
{
    BinaryOverlay overlay;
    for (int base : {0, 1, -2}) {
        OverlayRow row(base);
        row.seal();
        BinaryOverlay fresh;
        fresh.ParseBinaryOverlay(row.row());
        EXPECT_TRUE(fresh.m_isValid) << base;
        EXPECT_EQ(fresh.m_offset, base);
        fresh.ParseBinaryOverlay(row.row()); // at a base of 1 the preamble is its own word 2, and found again
        EXPECT_EQ(fresh.m_isValid, 1) << base;
        EXPECT_EQ(fresh.m_offset, base);
    }
    // With a base of 1 an overlay at 0 is one word too early for all three candidates.
    OverlayRow shifted(1), plain(0);
    shifted.seal();
    plain.seal();
    overlay.ParseBinaryOverlay(shifted.row());
    overlay.ParseBinaryOverlay(plain.row());
    EXPECT_FALSE(overlay.m_isValid);
}

TEST(BinaryOverlay, KeepsTheLastGoodFieldsWhenTheFrameIsDamaged)
{
    OverlayRow good, wrongSum, noPreamble;
    good.seal();
    wrongSum.u32(36, 99);
    wrongSum.seal();
    wrongSum.low(60, 0xEE);
    noPreamble.byte(2, 'X');
    for (OverlayRow* bad : {&wrongSum, &noPreamble}) {
        BinaryOverlay overlay = parsed(good);
        overlay.ParseBinaryOverlay(bad->row());
        EXPECT_FALSE(overlay.m_isValid);
        EXPECT_EQ(overlay.m_frameId, 0x01020304u);
        EXPECT_EQ(overlay.m_fromTime.year, 2024);
    }
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
}

// Reads beyond the frame are what the address sanitizer is for: each image lies in a block of its exact size.
TEST(BinaryOverlay, NeverReadsOutsideTheFrame)
{
    OverlayRow row(-2, 5);
    for (size_t before : {size_t{0}, size_t{1}, size_t{2}}) {
        for (size_t words : {size_t{1}, size_t{4}, size_t{125}, size_t{126}, size_t{129}}) {
            auto frame = std::make_unique<uint16_t[]>(before + words);
            std::copy_n(row.row() - before, before + words, frame.get());
            BinaryOverlay overlay;
            for (int twice = 0; twice < 2; ++twice)
                overlay.ParseBinaryOverlay(frame.get() + before, before, words);
            EXPECT_EQ(overlay.m_isValid, before >= 2 && words >= 126) << before << ' ' << words;
        }
    }
    BinaryOverlay overlay; // a base found on a larger image does not carry over into the words before a smaller one
    overlay.m_offset = -2;
    auto single = std::make_unique<uint16_t[]>(176);
    overlay.ParseBinaryOverlay(single.get(), 0, 176);
    EXPECT_FALSE(overlay.m_isValid);
    overlay.m_offset = 1;
    auto exact = std::make_unique<uint16_t[]>(128);
    std::copy_n(row.row(), 128, exact.get());
    overlay.ParseBinaryOverlay(exact.get(), 0, 128);
    EXPECT_FALSE(overlay.m_isValid);
}

TEST(BinaryOverlay, WritesPositionsAndReadsTemperatures)
{
    EXPECT_EQ(BinaryOverlay::FormatGpsPosition(-1, 0), "S00.0000001");
    EXPECT_EQ(BinaryOverlay::FormatGpsPosition(1234567890, 1), "E123.4567890");
    EXPECT_EQ(BinaryOverlay::FormatGpsPosition(-85000000, 1), "W08.5000000");
    EXPECT_EQ(BinaryOverlay::FormatGpsPosition(INT32_MIN, 0), "S214.7483648");
    BinaryOverlay o;
    int degrees = 77;
    o.m_temperatureRaw = 0x1500;
    EXPECT_FALSE(o.GetTemperature(&degrees));
    EXPECT_EQ(degrees, 77);
    o.m_temperatureRaw = 0x1501;
    EXPECT_TRUE(o.GetTemperature(&degrees));
    EXPECT_EQ(degrees, 21);
}
