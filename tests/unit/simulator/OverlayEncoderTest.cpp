// The camera's overlay, judged by the program's own parser of decoded frames.
#include "OverlayEncoder.h"
#include "BinaryOverlay.h"
#include "CameraStatus.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <vector>

using libobribase::BinaryOverlay;
using libobribase::CameraStatus;
using obrisim::SOverlay;

namespace {

/// The encoded row as a decoded frame has it: samples in the upper twelve bits.
std::vector<uint16_t> decodedRow(const SOverlay& overlay)
{
    std::array<uint16_t, obrisim::sOverlayWords> samples;
    obrisim::encodeOverlay(overlay, samples);
    std::vector<uint16_t> row(samples.size() + 8);
    std::ranges::transform(samples, row.begin(), [](uint16_t sample) { return static_cast<uint16_t>(sample << 4); });
    return row;
}

BinaryOverlay parsed(const SOverlay& overlay)
{
    const auto row = decodedRow(overlay);
    BinaryOverlay result;
    result.ParseBinaryOverlay(row.data(), 0, row.size());
    return result;
}

SOverlay plainOverlay()
{
    SOverlay overlay;
    overlay.startNs = 1'709'618'828'009'876'543; // 2024-03-05 06:07:08.009876543
    overlay.endNs = overlay.startNs + 1'250'000'000;
    overlay.frameId = 0xfedcba98;
    overlay.width = 1624;
    overlay.height = 1240;
    overlay.settings.exposureMs = 1250;
    return overlay;
}

} // namespace

TEST(SimulatedOverlay, SaysWhatTheFrameSettingsAndReceiverAre)
{
    SOverlay overlay = plainOverlay();
    overlay.binning = 2;
    overlay.settings.gainDb = 24;
    overlay.settings.highGain = true;
    overlay.settings.darkRows = true;
    overlay.settings.binaryOnly = false;
    overlay.gps = obrisim::gpsAt({}, 10'000'000'000, overlay.startNs);
    BinaryOverlay read = parsed(overlay);
    ASSERT_TRUE(read.m_isValid);
    EXPECT_EQ(BinaryOverlay::FormatDateTime(&read.m_fromTime), "2024-03-05T06:07:08.009");
    EXPECT_EQ(BinaryOverlay::FormatDateTime(&read.m_toTime), "2024-03-05T06:07:09.259");
    EXPECT_EQ(read.m_frameId, 0xfedcba98u);
    EXPECT_EQ(read.m_width, 1624);
    EXPECT_EQ(read.m_binningX, 2);
    EXPECT_EQ(read.m_exposureNanoseconds, 250'000'000u);
    EXPECT_EQ(read.m_nofSats, overlay.gps.satellites);
    EXPECT_EQ(read.m_latitudeE7, overlay.gps.latitudeE7);
    EXPECT_LT(read.m_latitudeE7, 0); // both signs go through
    EXPECT_EQ(read.m_longitudeE7, overlay.gps.longitudeE7);
    EXPECT_EQ(read.m_altitudeMm, overlay.gps.altitudeMm);
    EXPECT_TRUE(std::equal(overlay.gps.dop.begin(), overlay.gps.dop.end(), read.m_dop));
    CameraStatus status;
    status.UpdateFromBinaryOverlay(&read);
    EXPECT_EQ(status.m_gain, 24);
    EXPECT_TRUE(status.m_highGain);
    EXPECT_EQ(status.m_exposure100us, 12500);
    EXPECT_EQ(status.m_modeSelect, 3); // dark rows and readable text
}

// The decoded low bytes can only be multiples of 16, and all zeros would check nothing.
TEST(SimulatedOverlay, ChecksumHoldsForEveryFrameAndMeansSomething)
{
    SOverlay overlay = plainOverlay();
    std::set<int> sums;
    for (uint32_t id = 0; id < 3000; ++id) {
        overlay.frameId = id * 7919;
        auto row = decodedRow(overlay);
        BinaryOverlay read;
        read.ParseBinaryOverlay(row.data(), 0, row.size());
        ASSERT_TRUE(read.m_isValid) << "frame " << overlay.frameId;
        sums.insert((row[126] & 0xff) << 8 | (row[127] & 0xff));
        row[2 + id % 124] ^= 0x10; // one low bit of the words that the sum covers
        read.ParseBinaryOverlay(row.data(), 0, row.size());
        ASSERT_FALSE(read.m_isValid) << "a changed word " << 2 + id % 124 << " went unnoticed";
    }
    EXPECT_GT(sums.size(), 15u);
}
