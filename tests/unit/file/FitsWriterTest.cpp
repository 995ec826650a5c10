#include "FitsWriter.h"

#include "FitsSequenceWriter.h"
#include "RecordingTestKit.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <unistd.h>

using libobrifile::FitsSequenceWriter;
using libobrifile::FitsWriter;

namespace {
// Cards, each filled up to its 80 characters.
std::string cards(std::initializer_list<std::string> texts)
{
    std::string block;
    for (const std::string& text : texts)
        (block += text).append(80 - text.size(), ' ');
    return block;
}

class FitsFile : public testing::Test {
protected:
    const TemporaryFolder folder;
    FakeProvider provider;

    // What is thrown, if anything.
    template <class Writer = FitsWriter>
    std::string write(const std::string& path, int width, int height, std::vector<uint16_t> image = {})
    {
        Writer writer(path, &provider);
        writer.GetHeader()->SetBitpix(16);
        writer.GetHeader()->SetWidth(width);
        writer.GetHeader()->SetHeight(height);
        image.resize(static_cast<size_t>(width * height));
        try {
            writer.WriteImage(image.data());
        } catch (const std::logic_error& error) {
            return error.what();
        }
        return {};
    }
};
} // namespace

TEST_F(FitsFile, SmallestHeaderThenFlippedBigEndianPixelsThenSlashes)
{
    EXPECT_EQ(write("a.fits", 3, 2, {0, 65535, 32768, 1, 0x1234, 0x89AB}), "");
    std::string expected = cards({"SIMPLE  =                    T /", "BITPIX  =                   16 /",
                                  "NAXIS   =                    2 /", "NAXIS1  =                    3 /",
                                  "NAXIS2  =                    2 /", "BSCALE  =                  1.0 /",
                                  "BZERO   =                32768 /", "END"});
    expected.resize(2880, ' ');
    expected += std::string("\x80\x01\x92\x34\x09\xAB\x80\x00\x7F\xFF\x00\x00", 12);
    expected.resize(5760, '/');
    EXPECT_EQ(folder.textOf("a.fits"), expected);
    write("a.fits", 1440, 1); // exactly one block of data: nothing to fill
    EXPECT_EQ(std::filesystem::file_size("a.fits"), 5760U);
}

TEST_F(FitsFile, FullDiskThrowsAndLeavesNoFile)
{
    for (const size_t size : {100, 5000, 619200 - 1}) {
        const FileSizeLimit limit(size);
        EXPECT_EQ(write("a.fits", 640, 480), "Failed to write FITS file. (File too large)") << size;
    }
    EXPECT_EQ(write("missing/a.fits", 2, 2), "Failed to open FITS file for writing.");
    FitsWriter sizeless("b.fits", &provider);
    EXPECT_THROW(sizeless.WriteImage(nullptr), std::invalid_argument);
    EXPECT_TRUE(std::filesystem::is_empty("."));
    std::filesystem::create_symlink("/dev/full", "device"); // what is no file of ours stays
    EXPECT_EQ(write("device", 2, 2), "Failed to write FITS file. (No space left on device)");
    EXPECT_TRUE(std::filesystem::is_symlink("device"));
}

// Some file systems tell of a full disk only when the file is closed.
TEST_F(FitsFile, FileThatCannotBeClosedThrowsAndIsTakenAway)
{
    struct UnclosableWriter : FitsWriter {
        using FitsWriter::FitsWriter;
        void WriteData(FILE* file, uint16_t* image, int width, int height) override
        {
            FitsWriter::WriteData(file, image, width, height);
            fflush(file);
            close(fileno(file));
        }
    };
    EXPECT_EQ(write<UnclosableWriter>("a.fits", 2, 2), "Failed to write FITS file. (Bad file descriptor)");
    EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(FitsFile, SequenceWritesWhatTheProviderKnowsOfEachFrame)
{
    FitsSequenceWriter sequence(&provider);
    sequence.CreateFitsSequence("s_[FRAMENR].fits", 2, 2, 16);
    sequence.StartRecording();
    provider.header = {{"OBSERVER", "Ann"}, {"OBJECT", "x"}, {"RA", "no card"}, {"AUTHOR", "no card"}};
    provider.frame = {{"EXPTIME", "0.040000000"}, {"CCD-TEMP", "no card"}, {"OBJECT", "Barnard's"}};
    uint16_t image[] = {1, 2, 3, 4};
    for (const std::string time : {"2020-01-01T00:00:00.000", "2020-01-01T00:00:00.040"}) {
        provider.frame["DATE-OBS"] = time;
        sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0);
        const std::string text = folder.textOf("s_0000" + std::to_string(sequence.GetFrameNr()) + ".fits");
        EXPECT_EQ(text.substr(7 * 80, 5 * 80), cards({"OBJECT  = 'Barnard''s'", "OBSERVER= 'Ann'",
                                                      "DATE-OBS= '" + time + "'", "EXPTIME = '0.040000000'", "END"}));
        EXPECT_EQ(text.substr(2880, 8), std::string("\x80\x03\x80\x04\x80\x01\x80\x02"));
    }
    std::filesystem::remove_all(folder.path());
    EXPECT_THROW(sequence.RecordFrame(reinterpret_cast<uint8_t*>(image), sizeof image, 0), std::logic_error);
    EXPECT_EQ(sequence.GetFrameNr(), 2U);
    EXPECT_EQ(FitsSequenceWriter::FramePath("a_[FRAMENR].fits", 100000), "a_100000.fits");
}
