#include "FitsSequenceWriter.h"

#include "RecordingTestKit.h"

#include <fitsio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

class FitsOutsideReader : public testing::TestWithParam<std::pair<int, int>> {};
INSTANTIATE_TEST_SUITE_P(Size, FitsOutsideReader, testing::Values(std::pair(1624, 1240), std::pair(1440, 2)));

TEST_P(FitsOutsideReader, SeesTheImageAndItsHeaderAndComplainsOfNothingButTheFill)
{
    const auto [width, height] = GetParam();
    const TemporaryFolder folder;
    std::mt19937 random(1624);
    std::vector<uint16_t> image(static_cast<size_t>(width * height)), read(image.size());
    for (auto& pixel : image)
        pixel = static_cast<uint16_t>(random());
    FakeProvider provider;
    provider.header = {{"OBSERVER", "Ann O'Hara"}, {"TELESCOP", "C8"}, {"INSTRUME", "OBRI+CAM"}, {"OBJECT", "x"}};
    provider.frame = {{"DATE-OBS", "2020-01-01T00:00:00.040"}, {"EXPTIME", "0.040000000"}};
    libobrifile::FitsSequenceWriter writer(&provider);
    writer.CreateFitsSequence("s_[FRAMENR].fits", width, height, 16);
    writer.StartRecording();
    writer.RecordFrame(reinterpret_cast<uint8_t*>(image.data()), image.size() * 2, 0);

    fitsfile* file = nullptr;
    int status = 0, bitpix = 0, axes = 0;
    long sizes[2] = {};
    fits_open_image(&file, "s_00001.fits", READONLY, &status);
    fits_get_img_param(file, 2, &bitpix, &axes, sizes, &status);
    fits_read_img(file, TUSHORT, 1, static_cast<LONGLONG>(read.size()), nullptr, read.data(), nullptr, &status);
    fits_close_file(file, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(bitpix, 16);
    EXPECT_THAT(sizes, testing::ElementsAre(width, height));
    for (size_t y = 0, row = size_t(width); y < size_t(height); ++y)
        ASSERT_TRUE(std::equal(&read[y * row], &read[y * row] + row, &image[(height - 1 - y) * row])) << "row " << y;

    if (std::system("command -v fitsverify > /dev/null") != 0)
        GTEST_SKIP() << "fitsverify is not installed";
    const bool hasFill = image.size() * 2 % 2880 != 0;
    EXPECT_EQ(std::system("fitsverify s_00001.fits > report 2>&1") != 0, hasFill);
    const std::string text = folder.textOf("report");
    EXPECT_EQ(text.find("Data fill area invalid") != std::string::npos, hasFill);
    EXPECT_THAT(text, testing::HasSubstr(hasFill ? "0 warning(s) and 1 error(s)" : "0 warning(s) and 0 error(s)"));
}
