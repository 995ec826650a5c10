// The camera program's own writer against this reader: two readings of one layout that share no code.
#include "../file/AdvRecording.h"
#include "AdvFile.h"
#include "AdvRewrite.h"
#include "AdvVerify.h"

using namespace obriadv;

using WriterAgreement = AdvRecording;

TEST_F(WriterAgreement, EveryByteIsAccountedForAndEveryFrameIsRight)
{
    provider.dop[2] = 103;
    expected.width = 64;
    expected.height = 48;
    expected.add(12);
    for (uint32_t n = 0; n < 12; ++n)
        expected.frames[n].counter = 0xFFFFFFFA + n; // wraps on the way
    for (const size_t zoneCount : {0, 1}) {
        const std::vector<libobrifile::ZoneDefinition> zones(zoneCount, {10, 20, 16, 8});
        const std::string name = std::to_string(zoneCount) + ".adv";
        recordAll(zones);
        writer->StopRecording();
        ASSERT_EQ(compressRecording("a.adv", name).error, "");
        recordAll(zones, 1);
        writer->StopRecording();
        EXPECT_EQ(readWhole(name), readWhole("a.adv")) << "compressed at once and later";
        EXPECT_EQ(verifyRecording(name).exitStatus(), 0);
        AdvFile file;
        ASSERT_EQ(file.open(name), "");
        const SAdvStatus& status = file.frames().at(11).status;
        EXPECT_EQ(std::tie(status.gain, status.cameraFrameId, status.fixStatus, status.temperature, status.dopTime),
                  std::tuple("12.0", 5u, 3, 25.0f, 77u));
        EXPECT_EQ(std::tie(status.gdop, status.pdop, status.tdop, status.vdop, status.hdop),
                  std::tuple(1.5f, 2.5f, 1.03f, 4.5f, 5.5f));
        std::vector<uint16_t> pixels;
        std::string error;
        ASSERT_TRUE(file.readPixels(11, pixels, error)) << error;
        constexpr size_t sLastOfZone = 27 * 64 + 25;
        EXPECT_EQ(pixels.at(sLastOfZone) & 0xFF, expected.frames[11].pixels[2 * sLastOfZone]);
    }
}
