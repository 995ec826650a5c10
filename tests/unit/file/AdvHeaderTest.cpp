#include "AdvWriter.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>

using libobrifile::AdvWriter;
using libobrifile::ZoneDefinition;

namespace {
class AdvHeader : public testing::Test {
protected:
    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "recording.adv";

    // A recording without a frame: header, index, user metadata.
    std::string record(uint32_t w, uint32_t h, uint8_t bits, std::vector<ZoneDefinition> zones = {}, int compress = 0)
    {
        std::vector<ZoneDefinition*> pointers;
        for (ZoneDefinition& zone : zones)
            pointers.push_back(&zone);
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, w, h, bits, pointers, compress);
        writer.StartRecording();
        writer.StopRecording();
        EXPECT_EQ(writer.GetFailureText(), "");
        return readFile(path);
    }
};

Bytes statusSection()
{
    return Bytes()
        .u8(2)
        .u64(1000000)
        .u8(12)
        .raw(Bytes().text("Gain").u8(5).text("SystemTime").u8(3).text("VideoCameraFrameId").u8(2))
        .raw(Bytes().text("TrackedSatellites").u8(0).text("FixStatus").u8(0).text("Temperature").u8(4))
        .raw(Bytes().text("DOPTime").u8(2).text("GDOP").u8(4).text("PDOP").u8(4).text("TDOP").u8(4))
        .raw(Bytes().text("VDOP").u8(4).text("HDOP").u8(4));
}

Bytes imageTags()
{
    return Bytes()
        .u8(3)
        .tag("IMAGE-BYTE-ORDER", "LITTLE-ENDIAN")
        .tag("IMAGE-MAX-PIXEL-VALUE", "65535")
        .tag("IMAGE-BAYER-PATTERN", "MONOCHROME");
}

// The file of a recording without frames, around its image section and its metadata.
Bytes emptyRecording(const Bytes& imageSection, const Bytes& metadataTable)
{
    const size_t imageAt = 133, statusAt = imageAt + imageSection.size();
    const size_t metadataAt = statusAt + statusSection().size(), indexAt = metadataAt + metadataTable.size();
    const Bytes index = Bytes().u8(2).u32(9).u32(13).u32(0).u32(0);
    Bytes file;
    file.raw("FSTF").u8(2).u32(0).u64(indexAt).u64(metadataAt).u64(indexAt + index.size()).u8(2);
    file.text("MAIN").u32(0).u64(1000000000).u32(1000000).u64(0);
    file.text("CALIBRATION").u32(0).u64(1000000000).u32(1000000).u64(0);
    file.u8(2).text("IMAGE").u64(imageAt).text("STATUS").u64(statusAt);
    EXPECT_EQ(file.size(), imageAt);
    return file.raw(imageSection).raw(statusSection()).raw(metadataTable).raw(index).u32(0);
}

// The image section of a recording with the layouts given.
Bytes imageSection(uint32_t w, uint32_t h, int bits, int layouts, const char* compression, const Bytes& layout2 = {})
{
    return Bytes()
        .u8(2)
        .u32(w)
        .u32(h)
        .u8(bits)
        .u8(layouts)
        .raw(Bytes().u8(1).u8(1).u8(bits).u8(2).tag("DATA-LAYOUT", "FULL-IMAGE-RAW"))
        .tag("SECTION-DATA-COMPRESSION", compression)
        .raw(layout2)
        .raw(imageTags());
}

// Metadata when the provider says nothing.
Bytes noMetadata()
{
    Bytes bytes;
    bytes.u32(22);
    for (const char* name : {"RECORDER-SOFTWARE",
                             "RECORDER-SOFTWARE-VERSION",
                             "CAMERA-MODEL",
                             "CAMERA-SERIAL-NO",
                             "CAMERA-VENDOR-NAME",
                             "CAMERA-SENSOR-INFO",
                             "CAMERA-FIRMWARE-VERSION",
                             "CAMERA-DRIVER-NAME",
                             "LATITUDE",
                             "LONGITUDE",
                             "ALTITUDE",
                             "BINNING-X",
                             "BINNING-Y",
                             "ACQUISITION-DELAY",
                             "AUTHOR",
                             "COMMENT",
                             "INSTRUMENT",
                             "OBSERVER",
                             "TELESCOPE",
                             "OBJNAME",
                             "HEIGHT",
                             "WIDTH"})
        bytes.tag(name, "");
    return bytes;
}

// The part of a file from its image section up to the status section.
std::string imageSectionOf(const std::string& file)
{
    const size_t end = file.find(statusSection());
    return end == std::string::npos ? "" : file.substr(133, end - 133);
}
} // namespace

TEST_F(AdvHeader, EmptyRecordingIsTheseBytes)
{
    EXPECT_EQ(record(640, 480, 16), emptyRecording(imageSection(640, 480, 16, 1, "UNCOMPRESSED"), noMetadata()));
    EXPECT_EQ(record(640, 480, 16, {}, 1), emptyRecording(imageSection(640, 480, 16, 1, "LAGARITH16"), noMetadata()));
}

TEST_F(AdvHeader, MetadataAreTheProvidersTexts)
{
    provider.header = {{"RECORDER-SOFTWARE", "ObriCamControl"},
                       {"CAMERA-MODEL", "m"},
                       {"INSTRUME", "OBRI+CAM"},
                       {"OBSERVER", "Ann"},
                       {"TELESCOP", "C8"},
                       {"OBJNAME", "(1) Ceres"},
                       {"HEIGHT", "480"},
                       {"WIDTH", "640"},
                       {"RA", "01 02 03"},
                       {"DEC", "+04 05 06"}};
    provider.frame = {{"LATITUDE", "47.1"}, {"LONGITUDE", "8.5"}, {"OBSERVER", "frame wins"}};
    Bytes table;
    table.u32(24).tag("RECORDER-SOFTWARE", "ObriCamControl").tag("RECORDER-SOFTWARE-VERSION", "");
    table.tag("CAMERA-MODEL", "m").tag("CAMERA-SERIAL-NO", "").tag("CAMERA-VENDOR-NAME", "");
    table.tag("CAMERA-SENSOR-INFO", "").tag("CAMERA-FIRMWARE-VERSION", "").tag("CAMERA-DRIVER-NAME", "");
    table.tag("LATITUDE", "47.1").tag("LONGITUDE", "ObriCamControl").tag("ALTITUDE", "");
    table.tag("BINNING-X", "").tag("BINNING-Y", "").tag("ACQUISITION-DELAY", "").tag("AUTHOR", "");
    table.tag("COMMENT", "").tag("INSTRUMENT", "OBRI+CAM").tag("OBSERVER", "frame wins").tag("TELESCOPE", "C8");
    table.tag("RA", "01 02 03").tag("DEC", "+04 05 06");
    table.tag("OBJNAME", "(1) Ceres").tag("HEIGHT", "480").tag("WIDTH", "640");
    const Bytes image = imageSection(640, 480, 16, 1, "UNCOMPRESSED");
    EXPECT_EQ(record(640, 480, 16), emptyRecording(image, table));

    provider.header.erase("DEC"); // a position needs both
    EXPECT_NE(record(640, 480, 16).find(Bytes().u32(22).tag("RECORDER-SOFTWARE", "ObriCamControl")), std::string::npos);
    EXPECT_EQ(readFile(path).find(Bytes().text("RA")), std::string::npos);
}

TEST_F(AdvHeader, ZonesGetTheTimeStampRow)
{
    Bytes layout;
    layout.u8(2).u8(2).u8(16).u8(11).tag("DATA-LAYOUT", "FULL-IMAGE-RAW");
    layout.tag("SECTION-DATA-COMPRESSION", "UNCOMPRESSED").tag("ROI-COUNT", "2");
    layout.tag("ROI-TOP-0", "10").tag("ROI-LEFT-0", "20").tag("ROI-WIDTH-0", "100").tag("ROI-HEIGHT-0", "99");
    layout.tag("ROI-TOP-1", "479").tag("ROI-LEFT-1", "0").tag("ROI-WIDTH-1", "640").tag("ROI-HEIGHT-1", "1");
    const Bytes image = imageSection(640, 480, 16, 2, "LAGARITH16", layout);
    EXPECT_EQ(record(640, 480, 16, {{20, 10, 100, 99}}, 1), emptyRecording(image, noMetadata()));
}

struct SClipping {
    std::string name;
    ZoneDefinition zone;
    const char* height; // as written for zone 0; null: dropped
    const char* width;
};
class AdvZoneClipping : public AdvHeader, public testing::WithParamInterface<SClipping> {};
TEST_P(AdvZoneClipping, KeepsWhatLiesAboveTheLastRow)
{
    const std::string image = imageSectionOf(record(640, 480, 16, {GetParam().zone}));
    if (GetParam().height == nullptr) {
        EXPECT_EQ(image, imageSection(640, 480, 16, 1, "UNCOMPRESSED"));
        return;
    }
    const Bytes expected = Bytes().tag("ROI-WIDTH-0", GetParam().width).tag("ROI-HEIGHT-0", GetParam().height);
    EXPECT_NE(image.find(expected), std::string::npos);
    EXPECT_NE(image.find(Bytes().tag("ROI-COUNT", "2")), std::string::npos);
}
INSTANTIATE_TEST_SUITE_P(Zone, AdvZoneClipping,
                         testing::Values(SClipping{"TouchesTheLimit", {0, 400, 640, 79}, "79", "640"},
                                         SClipping{"OneRowTooMany", {0, 400, 640, 80}, "79", "640"},
                                         SClipping{"BeyondTheBottom", {0, 400, 640, 100}, "79", "640"},
                                         SClipping{"BeyondTheRight", {600, 0, 100, 10}, "10", "40"},
                                         SClipping{"InTheLastRow", {0, 479, 10, 1}, nullptr, nullptr},
                                         SClipping{"AtTheRightEdge", {640, 0, 10, 10}, nullptr, nullptr},
                                         SClipping{"BelowTheImage", {0, 600, 10, 10}, nullptr, nullptr},
                                         SClipping{"RightOfTheImage", {700, 0, 10, 10}, nullptr, nullptr}),
                         [](const auto& test) { return test.param.name; });

TEST_F(AdvHeader, FormatNameTellsTheBits)
{
    AdvWriter writer(&provider);
    writer.CreateAdvFile(path, 8, 2, 12, {}, 0);
    EXPECT_EQ(writer.GetFormatName(), "ADV 12-bit");
}

TEST_F(AdvHeader, ImageWithoutPixelsIsRefused)
{
    for (const auto& [w, h, bits] : {std::tuple{0, 480, 16}, {640, 0, 16}, {1, 480, 8}}) {
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, w, h, static_cast<uint8_t>(bits), {}, 0);
        writer.StartRecording();
        EXPECT_FALSE(writer.IsRecording());
        EXPECT_NE(writer.GetFailureText().find("impossible image size"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}
