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
    const TemporaryFolder folder;
    FakeProvider provider;
    FitsWriter writer{"a.fits", &provider};

    static void write(FitsWriter& into, int width, int height, std::vector<uint16_t> image = {})
    {
        into.GetHeader()->SetBitpix(16);
        into.GetHeader()->SetWidth(width);
        into.GetHeader()->SetHeight(height);
        image.resize(static_cast<size_t>(width * height));
        into.WriteImage(image.data());
    }
    static std::string thrownBy(FitsWriter& into)
    {
        try {
            write(into, 2, 2);
        } catch (const std::logic_error& error) {
            return error.what();
        }
        return "nothing thrown";
    }
};
} // namespace

TEST_F(FitsFile, SmallestHeaderThenFlippedBigEndianPixelsThenSlashes)
{
    write(writer, 3, 2, {0, 65535, 32768, 1, 0x1234, 0x89AB});
    std::string expected = card("SIMPLE  =                    T /") + card("BITPIX  =                   16 /") +
                           card("NAXIS   =                    2 /") + card("NAXIS1  =                    3 /") +
                           card("NAXIS2  =                    2 /") + card("BSCALE  =                  1.0 /") +
                           card("BZERO   =                32768 /") + card("END");
    expected.resize(2880, ' ');
    expected += std::string("\x80\x01\x92\x34\x09\xAB\x80\x00\x7F\xFF\x00\x00", 12);
    expected.resize(5760, '/');
    EXPECT_EQ(folder.textOf("a.fits"), expected);
    write(writer, 1440, 1); // exactly one block of data: nothing to fill
    EXPECT_EQ(std::filesystem::file_size("a.fits"), 5760U);
}

TEST_F(FitsFile, FullDiskThrowsAndLeavesNoFile)
{
    for (const size_t size : {100, 5000, 619200 - 1}) {
        const FileSizeLimit limit(size);
        EXPECT_THROW(write(writer, 640, 480), std::logic_error) << size;
        EXPECT_TRUE(std::filesystem::is_empty("."));
    }
    FitsWriter full("/dev/full", &provider), unopenable("missing/a.fits", &provider);
    EXPECT_EQ(thrownBy(full), "Failed to write FITS file. (No space left on device)");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    EXPECT_EQ(thrownBy(unopenable), "Failed to open FITS file for writing.");
    FitsWriter sizeless("a.fits", &provider);
    EXPECT_THROW(sizeless.WriteImage(nullptr), std::invalid_argument);
    EXPECT_TRUE(std::filesystem::is_empty("."));
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
    UnclosableWriter unclosable("a.fits", &provider);
    EXPECT_EQ(thrownBy(unclosable), "Failed to write FITS file. (Bad file descriptor)");
    EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(FitsFile, SequenceWritesWhatTheProviderKnowsOfEachFrame)
{
    FitsSequenceWriter sequence(&provider);
    sequence.CreateFitsSequence("s_[FRAMENR].fits", 2, 2, 16);
    sequence.StartRecording();
    provider.header = {{"OBSERVER", "Ann"}, {"OBJECT", "x"}, {"RA", "no card"}, {"AUTHOR", "no card"}};
    uint16_t image[] = {1, 2, 3, 4};
    for (const char* time : {"2020-01-01T00:00:00.000", "2020-01-01T00:00:00.040"}) {
        provider.frame = {
            {"DATE-OBS", time}, {"EXPTIME", "0.040000000"}, {"CCD-TEMP", "no card"}, {"OBJECT", "Barnard's"}};
        sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0);
    }
    const std::string first = folder.textOf("s_00001.fits"), second = folder.textOf("s_00002.fits");
    for (const auto& [text, time] : {std::pair{first, "000"}, {second, "040"}})
        EXPECT_EQ(text.substr(7 * 80, 5 * 80), card("OBJECT  = 'Barnard''s'") + card("OBSERVER= 'Ann'") +
                                                   card(std::string("DATE-OBS= '2020-01-01T00:00:00.") + time + "'") +
                                                   card("EXPTIME = '0.040000000'") + card("END"));
    EXPECT_EQ(second.substr(2880, 8), std::string("\x80\x03\x80\x04\x80\x01\x80\x02"));

    std::filesystem::remove_all(folder.path());
    EXPECT_THROW(sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0), std::logic_error);
    EXPECT_EQ(sequence.GetFrameNr(), 2U);
    sequence.StopRecording();
    EXPECT_EQ(FitsSequenceWriter::FramePath("a_[FRAMENR].fits", 100000), "a_100000.fits");
}
