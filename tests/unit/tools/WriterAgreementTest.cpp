// The camera program's own writer against this reader: two readings of one layout that share no code.
#include "../file/RecordingTestKit.h"
#include "AdvFile.h"
#include "AdvTime.h"
#include "AdvVerify.h"

#include "AdvWriter.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

using namespace obriadv;
constexpr uint32_t sWidth = 64, sHeight = 48;
constexpr uint32_t sFrames = 12, sFirstId = 0xFFFFFFFA; // wraps on the way

class WriterAgreement : public testing::TestWithParam<std::tuple<bool, bool>> {};

TEST_P(WriterAgreement, EveryByteIsAccountedForAndEveryFrameIsRight)
{
    const auto [isCompressed, hasZone] = GetParam();
    const TemporaryFolder folder;
    FakeProvider camera;
    camera.header["OBSERVER"] = "J\xC3\xB6rg";
    camera.fixState = 0x83;
    std::iota(std::begin(camera.dop), std::end(camera.dop), uint16_t{100});
    libobrifile::ZoneDefinition zone{10, 20, 16, 8};
    std::mt19937 random(3);
    std::vector<std::vector<uint16_t>> sent;
    {
        libobrifile::AdvWriter writer(&camera);
        const std::vector<libobrifile::ZoneDefinition*> zones(hasZone ? 1 : 0, &zone);
        writer.CreateAdvFile("a.adv", sWidth, sHeight, 16, zones, isCompressed);
        writer.StartRecording();
        for (int n = 0; n < int(sFrames); ++n) {
            camera.frame["GAIN-DB"] = std::to_string(n);
            camera.frameId = sFirstId + uint32_t(n);
            camera.from = {2026, 11, 21, 13, 30, 45, 40 * n};
            camera.to = {2026, 11, 21, 13, 30, 45, 40 * n + 38};
            std::vector<uint16_t> pixels(sWidth * sHeight);
            for (uint16_t& pixel : pixels)
                pixel = static_cast<uint16_t>(3000 + 16 * (random() % 25));
            sent.push_back(pixels);
            writer.RecordFrame(reinterpret_cast<uint8_t*>(pixels.data()), pixels.size() * 2, 639000000000000000);
        }
        writer.StopRecording();
    }
    AdvFile file;
    ASSERT_EQ(file.open("a.adv"), "");
    const SVerifyReport report = verifyRecording(file, "a.adv");
    EXPECT_EQ(report.exitStatus(), 0) << report.text();
    EXPECT_EQ(tagValue(file.header().systemMetadata, "OBSERVER"), "J\xC3\xB6rg");
    ASSERT_EQ(file.frames().size(), sFrames);
    for (uint32_t n = 0; n < sFrames; ++n) {
        const SAdvFrame& frame = file.frames()[n];
        EXPECT_EQ(isoTime(frame.startNs - static_cast<int64_t>(n) * 40'000'000), "2026-11-21T13:30:45.000");
        EXPECT_EQ(frame.endNs - frame.startNs, 38'000'000);
        EXPECT_EQ(frame.status.gain, std::to_string(n));
        EXPECT_EQ(frame.status.cameraFrameId, sFirstId + n);
        EXPECT_EQ(frame.status.fixStatus, 0x83);
        EXPECT_EQ(frame.status.temperature, 25.0f);
        const SAdvStatus& dops = frame.status;
        EXPECT_EQ(std::tie(dops.gdop, dops.pdop, dops.tdop, dops.vdop, dops.hdop),
                  std::tuple(1.00f, 1.01f, 1.02f, 1.03f, 1.04f));
        EXPECT_EQ(frame.status.dopTime, 77u);
        EXPECT_TRUE(frame.status.present.all());
        std::vector<uint16_t> pixels;
        std::string error;
        ASSERT_TRUE(file.readPixels(n, pixels, error)) << error;
        const bool isPartial = hasZone && n > 0;
        for (uint32_t y = 0; y < sHeight; ++y) {
            for (uint32_t x = 0; x < sWidth; ++x) {
                const bool isInZone = (x >= 10 && x < 26 && y >= 20 && y < 28) || y == sHeight - 1;
                const size_t at = y * sWidth + x;
                ASSERT_EQ(pixels[at], !isPartial || isInZone ? sent[n][at] : 0) << x << "," << y << " of " << n;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CompressedWithZone, WriterAgreement, testing::Combine(testing::Bool(), testing::Bool()));

} // namespace
