#include "FitsExport.h"
#include "AdvBuilder.h"
#include "FitsFolder.h"

#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace obriadv;
using testing::HasSubstr;

std::string runAndRead(const std::string& command, int& status)
{
    std::string text;
    FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 4096> part{};
    while (const size_t got = fread(part.data(), 1, part.size(), pipe))
        text.append(part.data(), got);
    status = pclose(pipe);
    return text;
}

/// Cards of the only header, without trailing blanks.
std::vector<std::string> cards(const std::vector<uint8_t>& file)
{
    std::vector<std::string> found;
    for (size_t at = 0; at + 80 <= file.size() && (found.empty() || found.back() != "END"); at += 80) {
        std::string card(file.begin() + static_cast<std::ptrdiff_t>(at),
                         file.begin() + static_cast<std::ptrdiff_t>(at) + 80);
        card.resize(card.find_last_not_of(' ') + 1);
        found.push_back(card);
    }
    return found;
}

AdvBuilder recording()
{
    AdvBuilder builder;
    builder.width = 140; // the camera's data block takes 128 pixels of the last row
    builder.height = 4;
    builder.metadata.push_back(
        {"OBSERVER", "J\xC3\xB6rg with a name that goes on and on, longer than what fits into one card of a header"});
    builder.add(3);
    return builder;
}

/// The camera's data block with what the exports use: version 5 (no checksum), position, fix, temperature.
void putOverlay(std::vector<uint8_t>& pixels, size_t firstOfRow)
{
    const auto put = [&](size_t word, std::initializer_list<int> values) {
        for (int value : values) {
            pixels[2 * (firstOfRow + word)] = 0;
            pixels[2 * (firstOfRow + word++) + 1] = static_cast<uint8_t>(value);
        }
    };
    for (size_t word = 0; word < 128; ++word)
        put(word, {0});
    put(2, {0x54, 0x53, 0, 5});
    put(64, {0x1C, 0x1A, 0x99, 0x38}); // 47.1505208 north
    put(68, {0xFA, 0xE7, 0xB9, 0xC4}); // 8.55... west
    put(72, {0, 3, 3, 8});             // 3 m, fix, 8 satellites
    put(76, {0x00, 0x06, 0x4B, 0x54}); // 412.500 m
    put(96, {0x15, 0x01});             // 21 degrees
}

TEST(FitsExport, HoldsTheFrameAsRecordedAndPassesFitsverify)
{
    AdvBuilder builder = recording();
    putOverlay(builder.frames[1].pixels, 3 * 140);
    TemporaryFolder folder;
    AdvFile file;
    ASSERT_EQ(openBytes(file, builder.build()), "");
    const std::string path = folder.path("one[0].fits"); // brackets would be commands to the FITS library
    ASSERT_EQ(exportFrame(file, 1, path), "");
    const std::vector<uint8_t> bytes = readWhole(path);
    ASSERT_EQ(bytes.size() % 2880, 0u);
    const std::vector<std::string> header = cards(bytes);
    for (const char* start :
         {"DATE-OBS= '2020-01-01T00:00:00.040'", "DATE-BEG= '2020-01-01T00:00:00.040'",
          "DATE-AVG= '2020-01-01T00:00:00.059'", "DATE-END= '2020-01-01T00:00:00.078'", "TIMESYS = 'UTC     '",
          "EXPTIME =             0.038000 ", "OBJECT  = 'Star O''Hara'", "FRAMENO =                    1",
          "FRAMEID =                 1001", "GPSFIX  =                    T", "GPSSTATE=                    3",
          "GPSSATS =                    9", "OBSGEO-B=           47.1505208", "OBSGEO-L=           -8.5476924",
          "OBSGEO-H=              412.500", "CCD-TEMP=                   21", "GAIN    =                12.00",
          "BZERO   =                32768", "OBSERVER= 'J?rg with"})
        EXPECT_THAT(header, testing::Contains(testing::StartsWith(start)));

    // Pixels big-endian less 32768, bottom row first; the rest of the last block is zero.
    const size_t dataAt = (header.size() * 80 + 2879) / 2880 * 2880;
    for (size_t y = 0; y < 4; ++y)
        for (size_t x = 0; x < 140; ++x) {
            const size_t stored = dataAt + 2 * ((3 - y) * 140 + x), recorded = 2 * (y * 140 + x);
            ASSERT_EQ(bytes[stored] ^ 0x80, builder.frames[1].pixels[recorded + 1]);
            ASSERT_EQ(bytes[stored + 1], builder.frames[1].pixels[recorded]);
        }
    for (size_t at = dataAt + 2 * 4 * 140; at < bytes.size(); ++at)
        ASSERT_EQ(bytes[at], 0);

    int status = 0;
    if (runAndRead("command -v fitsverify", status).empty())
        GTEST_SKIP() << "fitsverify is not installed";
    std::filesystem::rename(path, folder.path("one.fits")); // it, too, takes brackets for commands
    const std::string verdict = runAndRead("fitsverify " + folder.path("one.fits"), status);
    EXPECT_THAT(verdict, HasSubstr("0 warning(s) and 0 error(s)"));
}

TEST(FitsExport, WithoutOverlayOrValidTimeItInventsNothing)
{
    AdvBuilder builder = recording();
    builder.frames[0].startNs = builder.frames[0].endNs = -1262304000000000000;
    TemporaryFolder folder;
    AdvFile file;
    ASSERT_EQ(openBytes(file, builder.build()), "");
    ASSERT_EQ(exportFrame(file, 0, folder.path("a.fits")), "");
    std::string header;
    for (const std::string& card : cards(readWhole(folder.path("a.fits"))))
        header += card + "\n";
    EXPECT_THAT(header, testing::Not(HasSubstr("DATE-")));
    EXPECT_THAT(header, testing::Not(HasSubstr("OBSGEO-L")));
    EXPECT_THAT(header, testing::Not(HasSubstr("CCD-TEMP")));
    EXPECT_THAT(header, HasSubstr("OBSGEO-B=           47.1234567"));
    EXPECT_THAT(exportFrame(file, 0, folder.path("a.fits")), HasSubstr("exists already"));
    EXPECT_THAT(exportFrame(file, 3, folder.path("b.fits")), HasSubstr("there is no frame 3"));
}

class FitsFolder : public testing::Test {
protected:
    void SetUp() override
    {
        AdvBuilder builder;
        builder.add(30);
        builder.frames.erase(builder.frames.begin() + 12, builder.frames.begin() + 14);
        ASSERT_EQ(openBytes(m_recording, builder.build()), "");
        ASSERT_EQ(exportAll(m_recording, "night/rec.adv", path()), "");
    }
    std::string path() const { return m_folder.path("fits"); }
    std::string file(const std::string& name) const { return path() + "/" + name; }

    AdvFile m_recording;
    TemporaryFolder m_folder;
};

TEST_F(FitsFolder, OfAnExportShowsTheGapOfItsRecording)
{
    const SVerifyReport report = verifyFitsFolder(path());
    EXPECT_EQ(report.exitStatus(), 1);
    EXPECT_EQ(report.verdict, path() + ": 1 finding, 28 FITS files in 1 sequence, 2 frames lost");
    EXPECT_THAT(report.gapTable, HasSubstr("00011  frames lost            2       120.0"));
}

TEST_F(FitsFolder, WithHolesCutFilesAndOthersReportsEach)
{
    std::filesystem::remove(file("rec_00020.fits"));
    std::filesystem::resize_file(file("rec_00003.fits"), 4000);
    writeWhole(file("rec_00028.fits"), {'n', 'o'});
    writeWhole(file("notes.txt"), {'n', 'o'});
    const SVerifyReport report = verifyFitsFolder(path());
    EXPECT_THAT(report.text(), HasSubstr("no files between 00019 and 00021"));
    EXPECT_THAT(report.text(), HasSubstr("rec_00003.fits is cut short"));
    EXPECT_THAT(report.text(), HasSubstr("rec_00028.fits cannot be opened"));
    EXPECT_THAT(report.verdict, HasSubstr("28 FITS files"));
}

TEST_F(FitsFolder, WithFilesOfTwoSequencesJudgesEachAlone)
{
    for (int n = 0; n < 3; ++n) { // names that were taken are told apart by a number behind
        const std::string number = "0000" + std::to_string(n);
        std::filesystem::copy_file(file("rec_" + number + ".fits"), file("rec_" + number + "-2.fits"));
    }
    std::filesystem::copy_file(file("rec_00000.fits"), file("20240305_060708_8x6_G7_40ms.fits"));
    const SVerifyReport report = verifyFitsFolder(path());
    EXPECT_EQ(report.verdict, path() + ": 1 finding, 32 FITS files in 3 sequences, 2 frames lost");
}

TEST_F(FitsFolder, WithoutFitsFilesIsNoSequence)
{
    EXPECT_EQ(verifyFitsFolder("/proc/self/fd").exitStatus(), 2);
    EXPECT_EQ(verifyFitsFolder(path() + "/none").exitStatus(), 2);
}

} // namespace
