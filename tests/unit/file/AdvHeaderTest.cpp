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
}
