#include "AdvWriter.h"

#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <sstream>

using libobrifile::AdvWriter;
using libobrifile::ZoneDefinition;

namespace {
class AdvHeader : public testing::Test {
protected:
    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "recording.adv";

    // A recording of 640 x 480 without a frame: header, index, user metadata.
    std::string record(std::vector<ZoneDefinition> zones = {}, int compress = 0)
    {
        std::vector<ZoneDefinition*> pointers;
        for (ZoneDefinition& zone : zones)
            pointers.push_back(&zone);
        AdvWriter writer(&provider);
        writer.CreateAdvFile(path, 640, 480, 16, pointers, compress);
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
Bytes imageSection(int layouts, const char* compression, const Bytes& layout2 = {})
{
    Bytes section;
    section.u8(2).u32(640).u32(480).u8(16).u8(layouts);
    section.u8(1).u8(1).u8(16).u8(2).tag("DATA-LAYOUT", "FULL-IMAGE-RAW");
    section.tag("SECTION-DATA-COMPRESSION", compression).raw(layout2);
    section.u8(3).tag("IMAGE-BYTE-ORDER", "LITTLE-ENDIAN").tag("IMAGE-MAX-PIXEL-VALUE", "65535");
    return section.tag("IMAGE-BAYER-PATTERN", "MONOCHROME");
}

// All names in their order; a position is left out when it is not known, others are empty.
Bytes metadata(std::map<std::string, std::string> values = {})
{
    std::istringstream names("RECORDER-SOFTWARE RECORDER-SOFTWARE-VERSION CAMERA-MODEL CAMERA-SERIAL-NO "
                             "CAMERA-VENDOR-NAME CAMERA-SENSOR-INFO CAMERA-FIRMWARE-VERSION CAMERA-DRIVER-NAME "
                             "LATITUDE LONGITUDE ALTITUDE BINNING-X BINNING-Y ACQUISITION-DELAY AUTHOR COMMENT "
                             "INSTRUMENT OBSERVER TELESCOPE RA DEC OBJNAME HEIGHT WIDTH");
    Bytes table;
    table.u32(22 + values.count("RA") + values.count("DEC"));
    for (std::string name; names >> name;)
        if ((name != "RA" && name != "DEC") || values.count(name))
            table.tag(name, values[name]);
    return table;
}
} // namespace

TEST_F(AdvHeader, EmptyRecordingIsTheseBytes)
{
    EXPECT_EQ(record(), emptyRecording(imageSection(1, "UNCOMPRESSED"), metadata()));
    EXPECT_EQ(record({}, 1), emptyRecording(imageSection(1, "LAGARITH16"), metadata()));
}

TEST_F(AdvHeader, MetadataAreTheProvidersTexts)
{
    provider.header = {{"RECORDER-SOFTWARE", "ObriCamControl"},
                       {"INSTRUME", "OBRI+CAM"},
                       {"OBSERVER", "Ann"},
                       {"TELESCOP", "M\xC3\xBC\x7F"},
                       {"OBJNAME", "(1) Ceres"},
                       {"HEIGHT", "480"},
                       {"RA", "01 02 03"},
                       {"DEC", "+04 05 06"}};
    provider.frame = {{"LATITUDE", "47.1"}, {"LONGITUDE", "8.5"}, {"OBSERVER", "frame wins"}};
    std::map<std::string, std::string> expected = provider.header;
    expected.insert({{"LATITUDE", "47.1"}, {"LONGITUDE", "ObriCamControl"}, {"INSTRUMENT", "OBRI+CAM"}});
    expected["OBSERVER"] = "frame wins";
    expected["TELESCOPE"] = "M\xC3\xBC?"; // bytes of UTF-8 pass, 0x7F does not
    const Bytes image = imageSection(1, "UNCOMPRESSED");
    EXPECT_EQ(record(), emptyRecording(image, metadata(expected)));

    provider.header.erase("DEC"); // a position needs both
    expected.erase("DEC");
    expected.erase("RA");
    EXPECT_EQ(record(), emptyRecording(image, metadata(expected)));
}

TEST_F(AdvHeader, ZonesGetTheTimeStampRow)
{
    Bytes layout;
    layout.u8(2).u8(2).u8(16).u8(11).tag("DATA-LAYOUT", "FULL-IMAGE-RAW");
    layout.tag("SECTION-DATA-COMPRESSION", "UNCOMPRESSED").tag("ROI-COUNT", "2");
    layout.tag("ROI-TOP-0", "10").tag("ROI-LEFT-0", "20").tag("ROI-WIDTH-0", "100").tag("ROI-HEIGHT-0", "99");
    layout.tag("ROI-TOP-1", "479").tag("ROI-LEFT-1", "0").tag("ROI-WIDTH-1", "640").tag("ROI-HEIGHT-1", "1");
    EXPECT_EQ(record({{20, 10, 100, 99}}, 1), emptyRecording(imageSection(2, "LAGARITH16", layout), metadata()));
}

TEST_F(AdvHeader, ZonesKeepWhatLiesAboveTheLastRow)
{
    struct SClipping {
        ZoneDefinition zone;
        const char *width, *height;
    };
    for (const auto& [zone, width, height] : {SClipping{{0, 400, 640, 79}, "640", "79"},
                                              {{0, 400, 640, 80}, "640", "79"},
                                              {{0, 400, 640, 100}, "640", "79"},
                                              {{600, 0, 100, 10}, "40", "10"}})
        EXPECT_NE(record({zone}).find(Bytes().tag("ROI-WIDTH-0", width).tag("ROI-HEIGHT-0", height)),
                  std::string::npos);
    // In the last row, at the right edge, below and right of the image.
    for (const ZoneDefinition& zone :
         {ZoneDefinition{0, 479, 10, 1}, {640, 0, 10, 10}, {0, 600, 10, 10}, {700, 0, 10, 10}})
        EXPECT_EQ(record({zone}), emptyRecording(imageSection(1, "UNCOMPRESSED"), metadata()));
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
