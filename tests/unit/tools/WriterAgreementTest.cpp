// The camera program's own writer against this reader: two readings of one layout that share no code.
#include "../base/TemporaryFolder.h"
#include "AdvFile.h"
#include "AdvTime.h"
#include "AdvVerify.h"

#include "AdvWriter.h"
#include "DateTime.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace obriadv;
using Attributes = std::map<std::string, std::string>;

constexpr uint32_t sWidth = 64, sHeight = 48;
constexpr size_t sFrames = 12;

/// A camera that takes a frame every 40 ms.
class Camera final : public libobrifile::IFileWriterAttributesProvider {
public:
    int frame = 0;

    void GetHeaderAttributes(Attributes& attribs) override { attribs = {{"OBSERVER", "J\xC3\xB6rg"}, {"RA", "1"}}; }
    void GetFrameAttributes(Attributes& attribs) override { attribs["GAIN-DB"] = std::to_string(frame); }
    uint32_t GetCameraFrameId() override { return 0xFFFFFFFAu + static_cast<uint32_t>(frame); } // wraps on the way
    uint8_t GetGpsNofSatellites() override { return 7; }
    uint8_t GetGpsFixState() override { return 0x83; }
    uint16_t GetGpsDilusionOfPrecisionGptvh(int which) override { return static_cast<uint16_t>(100 + which); }
    uint32_t GetGpsDilusionOfPrecisionTime() override { return 4; }
    int IsTimeValid() override { return 1; }
    uint16_t GetSensorTemperature() override { return 0x1A01; }
    void GetDateTimeFrom(libobribase::DateTime* dt) override { *dt = {2026, 11, 21, 13, 30, 45, 40 * frame}; }
    void GetDateTimeTo(libobribase::DateTime* dt) override { *dt = {2026, 11, 21, 13, 30, 45, 40 * frame + 38}; }
};

class WriterAgreement : public testing::TestWithParam<std::tuple<bool, bool>> {};

TEST_P(WriterAgreement, EveryByteIsAccountedForAndEveryFrameIsRight)
{
    const auto [isCompressed, hasZone] = GetParam();
    const TemporaryFolder folder;
    Camera camera;
    libobrifile::ZoneDefinition zone{10, 20, 16, 8};
    std::mt19937 random(3);
    std::vector<std::vector<uint16_t>> sent;
    {
        libobrifile::AdvWriter writer(&camera);
        const std::vector<libobrifile::ZoneDefinition*> zones(hasZone ? 1 : 0, &zone);
        writer.CreateAdvFile("a.adv", sWidth, sHeight, 16, zones, isCompressed);
        writer.StartRecording();
        for (; camera.frame < static_cast<int>(sFrames); ++camera.frame) {
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
    for (size_t n = 0; n < sFrames; ++n) {
        const SAdvFrame& frame = file.frames()[n];
        EXPECT_EQ(isoTime(frame.startNs - static_cast<int64_t>(n) * 40'000'000), "2026-11-21T13:30:45.000");
        EXPECT_EQ(frame.endNs - frame.startNs, 38'000'000);
        EXPECT_EQ(frame.status.gain, std::to_string(n));
        EXPECT_EQ(frame.status.cameraFrameId, 0xFFFFFFFAu + static_cast<uint32_t>(n));
        EXPECT_EQ(frame.status.fixStatus, 0x83);
        EXPECT_EQ(frame.status.temperature, 26.0f);
        const SAdvStatus& dops = frame.status;
        EXPECT_EQ(std::tie(dops.gdop, dops.pdop, dops.tdop, dops.vdop, dops.hdop),
                  std::tuple(1.00f, 1.01f, 1.02f, 1.03f, 1.04f));
        EXPECT_EQ(frame.status.dopTime, 4u);
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
