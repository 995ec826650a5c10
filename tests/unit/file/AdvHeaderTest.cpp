#include "AdvRecording.h"

using AdvHeader = AdvRecording;

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

    values.erase("RA"); // a position needs both
    values.erase("DEC");
    expected.metadata = metadata(values);
    for (const char* missing : {"RA", "DEC"}) {
        const std::string kept = std::exchange(provider.header[missing], "");
        start();
        expectFile();
        provider.header[missing] = kept;
    }
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
    using libobrifile::ZoneDefinition;
    expected.width = 640;
    expected.height = 480;
    const ZoneDefinition lastRow{0, 479, 640, 1}; // holds the camera's time stamp
    for (const auto& [wanted, kept] : {std::pair{ZoneDefinition{0, 400, 640, 79}, ZoneDefinition{0, 400, 640, 79}},
                                       {{0, 400, 640, 80}, {0, 400, 640, 79}},
                                       {{600, 0, 100, 10}, {600, 0, 40, 10}},
                                       {{0, 479, 10, 1}, {}}, // in the last row
                                       {{640, 0, 10, 10}, {}},
                                       {{0, 600, 10, 10}, {}}}) {
        expected.zoneTags = kept.w == 0 ? Tags() : zoneTags({kept, lastRow});
        start({wanted});
        expectFile();
    }
}
