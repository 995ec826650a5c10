#include "FitsExport.h"
#include "../base/OverlayRow.h"
#include "../base/TemporaryFolder.h"
#include "FitsFolder.h"
#include "OpenBytes.h"

#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

TEST(FitsExport, HoldsTheFrameAsRecordedAndPassesFitsverify)
{
    OverlayRow overlay(0, 5);                          // of a layout without checksum
    overlay.u32(56, 38461538);                         // exposure, ns
    overlay.u32(64, 471505208);                        // north
    overlay.u32(68, static_cast<uint32_t>(-85476924)); // west
    overlay.u32(72, 0x00030308);                       // 3 m, fix, 8 satellites
    overlay.u32(76, 412500);                           // mm
    overlay.u16(96, 0x1501);                           // 21 degrees
    AdvBuilder builder(140, 4);                        // the camera's data block takes 128 pixels of the last row
    builder.metadata.push_back(
        {"OBSERVER", "J\xC3\xB6rg with a name that goes on and on, longer than what fits into one card of a header"});
    memcpy(&builder.add(3).frames[1].pixels[2 * 3 * 140], overlay.row(), 256);
    const TemporaryFolder folder;
    AdvFile file;
    ASSERT_EQ(openBytes(file, builder.build()), "");
    ASSERT_EQ(exportFrame(file, 1, "one[0].fits"), ""); // brackets would be commands to the FITS library
    const std::string text = folder.textOf("one[0].fits");
    for (const char* card :
         {"DATE-OBS= '2020-01-01T00:00:00.040'", "DATE-BEG= '2020-01-01T00:00:00.040'",
          "DATE-AVG= '2020-01-01T00:00:00.059'", "DATE-END= '2020-01-01T00:00:00.078'", "TIMESYS = 'UTC     '",
          "EXPTIME =          0.038461538 ", "OBJECT  = 'Star O''Hara'", "FRAMENO =                    1",
          "FRAMEID =                 1001", "GPSFIX  =                    T", "GPSSTATE=                    3",
          "GPSSATS =                    9", "OBSGEO-B=           47.1505208", "OBSGEO-L=           -8.5476924",
          "OBSGEO-H=              412.500", "CCD-TEMP=                   21", "GAIN    =                12.00",
          "BZERO   =                32768", "OBSERVER= 'J?rg with"})
        EXPECT_THAT(text, HasSubstr(card));

    std::string data; // big-endian less 32768, bottom row first
    const Bytes& pixels = builder.frames[1].pixels;
    for (size_t stored = 0; stored < 4 * 140; ++stored) {
        const size_t at = 2 * ((3 - stored / 140) * 140 + stored % 140);
        data += {static_cast<char>(pixels[at + 1] ^ 0x80), static_cast<char>(pixels[at])};
    }
    EXPECT_EQ(text.substr(text.size() - 2880, data.size()), data);
    if (std::system("command -v fitsverify") != 0)
        GTEST_SKIP() << "fitsverify is not installed";
    std::filesystem::rename("one[0].fits", "one.fits"); // it, too, takes brackets for commands
    EXPECT_EQ(std::system("fitsverify one.fits"), 0) << "warnings and errors";
}

TEST(FitsExport, WithoutOverlayOrValidTimeItInventsNothing)
{
    AdvBuilder builder;
    builder.add(1);
    builder.frames[0].startNs = builder.frames[0].endNs = -1262304000000000000;
    const TemporaryFolder folder;
    AdvFile file;
    ASSERT_EQ(openBytes(file, builder.build()), "");
    ASSERT_EQ(exportFrame(file, 0, "a.fits"), "");
    const std::string text = folder.textOf("a.fits");
    for (const char* card : {"DATE-", "OBSGEO-L", "CCD-TEMP"})
        EXPECT_THAT(text, testing::Not(HasSubstr(card)));
    EXPECT_THAT(text, HasSubstr("OBSGEO-B=           47.1234567"));
    EXPECT_THAT(exportFrame(file, 0, "a.fits"), HasSubstr("exists already"));
}

TEST(FitsFolder, ShowsTheGapOfItsRecordingHolesCutFilesAndStrangers)
{
    AdvBuilder builder;
    builder.add(30);
    builder.frames.erase(builder.frames.begin() + 12, builder.frames.begin() + 14);
    const TemporaryFolder folder;
    AdvFile recording;
    ASSERT_EQ(openBytes(recording, builder.build()), "");
    ASSERT_EQ(exportAll(recording, "night/rec.adv", "fits"), "");
    SVerifyReport report = verifyFitsFolder("fits");
    EXPECT_EQ(report.exitStatus(), 1);
    EXPECT_EQ(report.verdict, "fits: 1 finding, 28 FITS files in 1 sequence, 2 frames lost");
    EXPECT_THAT(report.gapTable, HasSubstr("00011  frames lost            2       120.0"));

    // Names that were taken are told apart by a number behind; each sequence is judged alone.
    std::filesystem::copy_file("fits/rec_00000.fits", "fits/rec_00000-2.fits");
    std::filesystem::copy_file("fits/rec_00001.fits", "fits/rec_00001-2.fits");
    std::filesystem::copy_file("fits/rec_00000.fits", "fits/20240305_060708_8x6_G7_40ms.fits");
    EXPECT_EQ(verifyFitsFolder("fits").verdict, "fits: 1 finding, 31 FITS files in 3 sequences, 2 frames lost");

    std::filesystem::remove("fits/rec_00020.fits");
    std::filesystem::resize_file("fits/rec_00003.fits", 4000);
    writeWhole("fits/rec_00028.fits", {'n', 'o'});
    report = verifyFitsFolder("fits");
    EXPECT_THAT(report.text(), HasSubstr("no files between 00019 and 00021"));
    EXPECT_THAT(report.text(), HasSubstr("rec_00003.fits is cut short"));
    EXPECT_THAT(report.text(), HasSubstr("rec_00028.fits cannot be opened"));
    EXPECT_EQ(verifyFitsFolder("none").exitStatus(), 2);
}

} // namespace
