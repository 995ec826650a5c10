#include "FitsWriter.h"

#include "FitsSequenceWriter.h"
#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <unistd.h>

using libobrifile::FitsSequenceWriter;
using libobrifile::FitsWriter;

namespace {
// A card, filled up to its 80 characters.
std::string card(std::string text)
{
    text.resize(80, ' ');
    return text;
}

class FitsFile : public testing::Test {
protected:
    TemporaryDirectory directory;
    FakeProvider provider;
    std::string path = directory / "a.fits";
    FitsWriter writer{path, &provider};

    std::string write(int width, int height)
    {
        writer.GetHeader()->SetBitpix(16);
        writer.GetHeader()->SetWidth(width);
        writer.GetHeader()->SetHeight(height);
        std::vector<uint16_t> image(static_cast<size_t>(width * height), 0x1234);
        writer.WriteImage(image.data());
        return readFile(path);
    }
};

std::string thrownBy(FitsWriter& writer, uint16_t* image)
{
    try {
        writer.WriteImage(image);
    } catch (const std::logic_error& error) {
        return error.what();
    }
    return "nothing thrown";
}
} // namespace

TEST_F(FitsFile, SmallestHeaderThenFlippedBigEndianPixelsThenSlashes)
{
    writer.GetHeader()->SetBitpix(16);
    writer.GetHeader()->SetWidth(3);
    writer.GetHeader()->SetHeight(2);
    uint16_t image[] = {0, 65535, 32768, 1, 0x1234, 0x89AB};
    writer.WriteImage(image);
    std::string expected = card("SIMPLE  =                    T /") + card("BITPIX  =                   16 /") +
                           card("NAXIS   =                    2 /") + card("NAXIS1  =                    3 /") +
                           card("NAXIS2  =                    2 /") + card("BSCALE  =                  1.0 /") +
                           card("BZERO   =                32768 /") + card("END");
    expected.resize(2880, ' ');
    expected += std::string("\x80\x01\x92\x34\x09\xAB\x80\x00\x7F\xFF\x00\x00", 12);
    expected.resize(5760, '/');
    EXPECT_EQ(readFile(path), expected);
    EXPECT_EQ(writer.GetFilePath(), path);
}

TEST_F(FitsFile, OptionalCardsComeQuotedAndInOrder)
{
    const char* keys[] = {"OBJECT",   "TELESCOP", "INSTRUME", "OBSERVER", "DATE-OBS", "SWCREATE",
                          "YBINNING", "XBINNING", "TRUDEPTH", "GAIN",     "BITSHIFT", "EXTEND",
                          "EXPTIME",  "CCD-TEMP", "IMAGETYP", "HISTORY"};
    std::string expected;
    for (const char* key : keys) {
        writer.GetHeader()->SetValueForKey(key, "12.5");
        std::string name = key;
        name.resize(8, ' ');
        expected += card(name + "= '12.5'");
    }
    for (const char* other : {"RA", "CCD_TEMP", "COMMENT"})
        writer.GetHeader()->SetValueForKey(other, "not written");
    expected += card("END");
    const std::string file = write(4, 4);
    EXPECT_EQ(file.substr(7 * 80, expected.size()), expected);
    EXPECT_EQ(file.size(), 5760U);
}

TEST_F(FitsFile, QuotesAreDoubledAndLongTextsCut)
{
    writer.GetHeader()->SetObject("Barnard's star");
    writer.GetHeader()->SetObserver(std::string(100, 'o'));
    const std::string file = write(4, 4);
    EXPECT_EQ(file.substr(7 * 80, 80), card("OBJECT  = 'Barnard''s star'"));
    EXPECT_EQ(file.substr(8 * 80, 80), card("OBSERVER= '" + std::string(68, 'o') + "'"));
}

TEST_F(FitsFile, SizesAreWholeBlocks)
{
    EXPECT_EQ(write(640, 480).size(), 619200U);
    EXPECT_EQ(write(640, 480).substr(2880 + 614400), std::string(1920, '/'));
    EXPECT_EQ(write(1440, 1).size(), 5760U); // exactly one block of data: nothing to fill
}

TEST_F(FitsFile, FileThatCannotBeOpenedThrows)
{
    FitsWriter unopenable(directory / "missing/a.fits", &provider);
    EXPECT_EQ(thrownBy(unopenable, nullptr), "Failed to open FITS file for writing.");
}

TEST_F(FitsFile, HeaderWithoutSizeThrowsAndLeavesNoFile)
{
    uint16_t image[4] = {};
    writer.GetHeader()->SetHeight(2);
    EXPECT_THROW(writer.WriteImage(image), std::invalid_argument);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FitsFile, FullDiskThrowsAndLeavesNoFile)
{
    for (const size_t size : {100, 5000, 619200 - 1}) {
        const FileSizeLimit limit(size);
        EXPECT_THROW(write(640, 480), std::logic_error) << size;
        EXPECT_EQ(directory.fileCount(), 0U);
    }
    const FileSizeLimit limit(619200);
    EXPECT_EQ(write(640, 480).size(), 619200U);
}

TEST_F(FitsFile, FullDeviceThrowsAndStays)
{
    FitsWriter full("/dev/full", &provider);
    full.GetHeader()->SetWidth(2);
    full.GetHeader()->SetHeight(2);
    uint16_t image[4] = {};
    EXPECT_EQ(thrownBy(full, image), "Failed to write FITS file. (No space left on device)");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

// Some file systems tell of a full disk only when the file is closed.
TEST_F(FitsFile, FileThatCannotBeClosedThrowsAndIsTakenAway)
{
    class UnclosableWriter : public FitsWriter {
    public:
        using FitsWriter::FitsWriter;

    protected:
        void WriteData(FILE* file, uint16_t* image, int width, int height) override
        {
            FitsWriter::WriteData(file, image, width, height);
            fflush(file);
            close(fileno(file));
        }
    };
    UnclosableWriter unclosable(path, &provider);
    unclosable.GetHeader()->SetWidth(2);
    unclosable.GetHeader()->SetHeight(2);
    uint16_t image[4] = {};
    EXPECT_EQ(thrownBy(unclosable, image), "Failed to write FITS file. (Bad file descriptor)");
    EXPECT_EQ(directory.fileCount(), 0U);
}

TEST_F(FitsFile, SequenceWritesEachFrameWithItsOwnTime)
{
    FitsSequenceWriter sequence(&provider);
    EXPECT_FALSE(sequence.IsRecording());
    provider.header["OBSERVER"] = "Ann";
    sequence.CreateFitsSequence(directory / "s_[FRAMENR].fits", 2, 2, 16);
    EXPECT_EQ(sequence.GetFormatName(), "FITS Sequence 16-bit");
    sequence.StartRecording();
    EXPECT_EQ(directory.fileCount(), 0U);
    for (const char* time : {"2020-01-01T00:00:00.000", "2020-01-01T00:00:00.040"}) {
        uint16_t image[] = {1, 2, 3, 4};
        provider.frame = {{"DATE-OBS", time}, {"EXPTIME", "0.040000000"}};
        sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0);
    }
    sequence.StopRecording();
    EXPECT_EQ(sequence.GetFrameNr(), 2U);
    EXPECT_EQ(directory.fileCount(), 2U);
    const std::string first = readFile(directory / "s_00001.fits"), second = readFile(directory / "s_00002.fits");
    EXPECT_EQ(first.substr(7 * 80, 80), card("OBSERVER= 'Ann'"));
    EXPECT_EQ(first.substr(8 * 80, 80), card("DATE-OBS= '2020-01-01T00:00:00.000'"));
    EXPECT_EQ(second.substr(8 * 80, 160),
              card("DATE-OBS= '2020-01-01T00:00:00.040'") + card("EXPTIME = '0.040000000'"));
    EXPECT_EQ(second.substr(2880, 8), std::string("\x80\x03\x80\x04\x80\x01\x80\x02"));
}

TEST_F(FitsFile, SequenceThatFailsThrowsAndDoesNotCountTheFrame)
{
    FitsSequenceWriter sequence(&provider);
    sequence.CreateFitsSequence(directory / "missing/s_[FRAMENR].fits", 2, 2, 16);
    sequence.StartRecording();
    uint16_t image[4] = {};
    EXPECT_THROW(sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0), std::logic_error);
    EXPECT_EQ(sequence.GetFrameNr(), 0U);
    sequence.StopRecording();
}

TEST(FitsSequencePath, HasFiveDigitsOrMore)
{
    EXPECT_EQ(FitsSequenceWriter::FramePath("a_[FRAMENR].fits", 1), "a_00001.fits");
    EXPECT_EQ(FitsSequenceWriter::FramePath("a_[FRAMENR].fits", 100000), "a_100000.fits");
    EXPECT_EQ(FitsSequenceWriter::FramePath("a.fits", 7), "a.fits");
}
