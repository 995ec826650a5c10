#include "AdvRecording.h"

using libobrifile::ZoneDefinition;

namespace {
class AdvHeader : public AdvRecording {
protected:
    AdvHeader()
    {
        expected.width = 640;
        expected.height = 480;
    }
};
} // namespace

TEST_F(AdvHeader, EmptyRecordingIsTheseBytes)
{
    start();
    expectFile();
    expected.compression = "LAGARITH16";
    start({}, 1);
    expectFile();
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
    std::map<std::string, std::string> values = provider.header;
    values.insert({{"LATITUDE", "47.1"}, {"LONGITUDE", "ObriCamControl"}, {"INSTRUMENT", "OBRI+CAM"}});
    values["OBSERVER"] = "frame wins";
    values["TELESCOPE"] = "M\xC3\xBC?"; // bytes of UTF-8 pass, 0x7F does not
    expected.metadata = metadata(values);
    start();
    expectFile();

    provider.header.erase("DEC"); // a position needs both
    values.erase("DEC");
    values.erase("RA");
    expected.metadata = metadata(values);
    start();
    expectFile();
}

TEST_F(AdvHeader, ImageWithoutPixelsIsRefused)
{
    for (const auto& [width, height, bits] : {std::tuple{0, 480, 16}, {640, 0, 16}, {1, 480, 8}}) {
        expected.width = width;
        expected.height = height;
        expected.bits = bits;
        start();
        EXPECT_FALSE(writer->IsRecording());
        EXPECT_NE(writer->GetFailureText().find("impossible image size"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists("a.adv"));
}

TEST_F(AdvHeader, ZonesKeepWhatLiesAboveTheLastRow)
{
    const ZoneDefinition lastRow{0, 479, 640, 1}; // holds the camera's time stamp
    for (const auto& [wanted, kept] : std::vector<std::pair<ZoneDefinition, std::vector<ZoneDefinition>>>{
             {{20, 10, 100, 99}, {{20, 10, 100, 99}, lastRow}},
             {{0, 400, 640, 79}, {{0, 400, 640, 79}, lastRow}},
             {{0, 400, 640, 80}, {{0, 400, 640, 79}, lastRow}},
             {{0, 400, 640, 100}, {{0, 400, 640, 79}, lastRow}},
             {{600, 0, 100, 10}, {{600, 0, 40, 10}, lastRow}},
             {{0, 479, 10, 1}, {}}, // in the last row
             {{640, 0, 10, 10}, {}},
             {{0, 600, 10, 10}, {}},
             {{700, 0, 10, 10}, {}}}) {
        expected.zoneTags = kept.empty() ? Tags() : zoneTags(kept);
        start({wanted});
        expectFile();
    }
}
