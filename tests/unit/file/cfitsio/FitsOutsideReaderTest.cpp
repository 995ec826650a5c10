#include "FitsSequenceWriter.h"

#include "RecordingTestKit.h"

#include <cstdlib>
#include <cstring>
#include <fitsio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

using testing::HasSubstr;

class FitsOutsideReader : public testing::TestWithParam<std::pair<int, int>> {
protected:
    void SetUp() override
    {
        const auto [width, height] = GetParam();
        std::mt19937 random(1624);
        image.resize(static_cast<size_t>(width * height));
        for (auto& pixel : image)
            pixel = static_cast<uint16_t>(random());
        FakeProvider provider;
        provider.header = {{"OBSERVER", "Ann O'Hara"}, {"TELESCOP", "C8"}, {"INSTRUME", "OBRI+CAM"}, {"OBJECT", "x"}};
        provider.frame = {{"DATE-OBS", "2020-01-01T00:00:00.040"}, {"EXPTIME", "0.040000000"}, {"CCD-TEMP", "21.0"}};
        libobrifile::FitsSequenceWriter writer(&provider);
        writer.CreateFitsSequence("s_[FRAMENR].fits", width, height, 16);
        writer.StartRecording();
        writer.RecordFrame(reinterpret_cast<uint8_t*>(image.data()), image.size() * 2, 0);
        writer.StopRecording();
    }
    const TemporaryFolder folder;
    std::vector<uint16_t> image; // top row first
};

TEST_P(FitsOutsideReader, SeesTheImageAndItsHeader)
{
    const auto [width, height] = GetParam();
    fitsfile* file = nullptr;
    int status = 0, bitpix = 0, axes = 0;
    long sizes[2] = {};
    fits_open_image(&file, "s_00001.fits", READONLY, &status);
    fits_get_img_param(file, 2, &bitpix, &axes, sizes, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(bitpix, 16);
    ASSERT_EQ(sizes[0], width);
    ASSERT_EQ(sizes[1], height);
    std::vector<uint16_t> read(image.size());
    fits_read_img(file, TUSHORT, 1, static_cast<LONGLONG>(read.size()), nullptr, read.data(), nullptr, &status);
    char observer[FLEN_VALUE] = "";
    fits_read_key(file, TSTRING, "OBSERVER", observer, nullptr, &status);
    fits_close_file(file, &status);
    ASSERT_EQ(status, 0);
    EXPECT_STREQ(observer, "Ann O'Hara");
    for (int y = 0; y < height; ++y)
        ASSERT_TRUE(std::equal(&read[size_t(y) * width], &read[size_t(y) * width] + width,
                               &image[size_t(height - 1 - y) * width]))
            << "FITS row " << y;
}

TEST_P(FitsOutsideReader, FitsverifyComplainsOfNothingButTheFill)
{
    if (std::system("command -v fitsverify > /dev/null") != 0)
        GTEST_SKIP() << "fitsverify is not installed";
    const bool hasFill = image.size() * 2 % 2880 != 0;
    EXPECT_EQ(std::system("fitsverify s_00001.fits > report 2>&1") != 0, hasFill);
    const std::string text = folder.textOf("report");
    EXPECT_EQ(text.find("Data fill area invalid") != std::string::npos, hasFill);
    EXPECT_THAT(text, HasSubstr(hasFill ? "found 0 warning(s) and 1 error(s)" : "found 0 warning(s) and 0 error(s)"));
}

TEST_P(FitsOutsideReader, AstropySeesTheImage)
{
    const std::string python = "/usr/bin/python3 -W ignore -c \"from astropy.io import fits; ";
    if (std::system((python + "\" 2> /dev/null").c_str()) != 0)
        GTEST_SKIP() << "astropy is not installed";
    const std::string program = "fits.getdata('s_00001.fits')[::-1].astype('=u2').tofile('raw')\"";
    ASSERT_EQ(std::system((python + program).c_str()), 0);
    const std::string read = folder.textOf("raw");
    ASSERT_EQ(read.size(), image.size() * 2);
    EXPECT_EQ(memcmp(read.data(), image.data(), read.size()), 0);
}

INSTANTIATE_TEST_SUITE_P(Size, FitsOutsideReader, testing::Values(std::pair(1624, 1240), std::pair(1440, 2)),
                         [](const auto& test) {
                             return std::to_string(test.param.first) + "x" + std::to_string(test.param.second);
                         });
