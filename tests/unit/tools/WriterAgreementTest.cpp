// The camera program's own writer against this reader: two readings of one layout that share no code.
#include "../file/AdvRecording.h"
#include "AdvFile.h"
#include "AdvTime.h"
#include "AdvVerify.h"

namespace {

using namespace obriadv;

class WriterAgreement : public AdvRecording, public testing::WithParamInterface<std::tuple<bool, bool>> {};

TEST_P(WriterAgreement, EveryByteIsAccountedForAndEveryFrameIsRight)
{
    const auto [isCompressed, hasZone] = GetParam();
    provider.header["OBSERVER"] = "J\xC3\xB6rg";
    provider.dop[2] = 103;
    expected.width = 64;
    expected.height = 48;
    expected.add(12);
    for (uint32_t n = 0; n < 12; ++n)
        expected.frames[n].counter = 0xFFFFFFFA + n; // wraps on the way
    recordAll(hasZone ? std::vector{libobrifile::ZoneDefinition{10, 20, 16, 8}}
                      : std::vector<libobrifile::ZoneDefinition>{},
              isCompressed);
    writer->StopRecording();
    AdvFile file;
    ASSERT_EQ(file.open("a.adv"), "");
    const SVerifyReport report = verifyRecording(file, "a.adv");
    EXPECT_EQ(report.exitStatus(), 0) << report.text();
    EXPECT_EQ(tagValue(file.header().systemMetadata, "OBSERVER"), "J\xC3\xB6rg");
    ASSERT_EQ(file.frames().size(), 12u);
    for (uint32_t n = 0; n < 12; ++n) {
        const SAdvFrame& frame = file.frames()[n];
        EXPECT_EQ(isoTime(frame.startNs - int64_t{n} * 40'000'000), "2020-01-01T00:00:00.000");
        EXPECT_EQ(frame.endNs - frame.startNs, 38'000'000);
        const SAdvStatus& status = frame.status;
        EXPECT_EQ(std::tie(status.gain, status.cameraFrameId, status.fixStatus, status.temperature, status.dopTime),
                  std::tuple("12.0", 0xFFFFFFFA + n, 3, 25.0f, 77u));
        EXPECT_EQ(std::tie(status.gdop, status.pdop, status.tdop, status.vdop, status.hdop),
                  std::tuple(1.5f, 2.5f, 1.03f, 4.5f, 5.5f));
        EXPECT_TRUE(status.present.all());
        std::vector<uint16_t> pixels;
        std::string error;
        ASSERT_TRUE(file.readPixels(n, pixels, error)) << error;
        const Bytes& sent = expected.frames[n].pixels;
        for (uint32_t at = 0; at < 64 * 48; ++at) {
            const uint32_t x = at % 64, y = at / 64;
            const bool isInZone = (x >= 10 && x < 26 && y >= 20 && y < 28) || y == 47;
            const int whole = sent[2 * at] | sent[2 * at + 1] << 8;
            ASSERT_EQ(pixels.at(at), !hasZone || n == 0 || isInZone ? whole : 0) << x << "," << y << " of " << n;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CompressedWithZone, WriterAgreement, testing::Combine(testing::Bool(), testing::Bool()));

} // namespace
