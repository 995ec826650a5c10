// The sky by its physics: light in proportion to exposure and gain, noise, saturation, occultations.
#include "FitsSky.h"
#include "FrameComposer.h"
#include "Schedule.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

using namespace obrisim;

namespace {

/// Frames of one sky, looked at in converter steps.
class Telescope {
public:
    Telescope() : m_composer(makeStarField(1), 1)
    {
        m_composer.keepPixels(true);
        m_job.mode = &sensorModes()[2];
        m_job.overlay.settings.exposureMs = 100;
        m_bytes.resize(static_cast<size_t>(m_job.mode->bytes()));
    }

    SSettings& settings() { return m_job.overlay.settings; }
    void hideTarget(double part) { m_job.targetPart = 1.0 - part; }
    int width() const { return m_job.mode->width; }
    int height() const { return m_job.mode->height; }

    void expose(uint32_t frameId = 1)
    {
        m_job.overlay.frameId = frameId;
        m_composer.compose(m_job, m_bytes.data());
    }

    int at(int x, int y) const { return m_composer.pixels()[static_cast<size_t>(y * width() + x)] >> 4; }

    /// The target's light above the sky around it, averaged over some frames.
    double targetLight()
    {
        constexpr uint32_t sFrames = 40;
        double sum = 0;
        for (uint32_t i = 0; i < sFrames; ++i) {
            expose(i);
            const SDisk star = disk(0, 9), sky = disk(11, 20);
            sum += star.light - sky.light / sky.pixels * star.pixels;
        }
        return sum / sFrames;
    }

private:
    struct SDisk {
        double light = 0, pixels = 0;
    };
    SDisk disk(double from, double to) const
    {
        SDisk found;
        const auto [cx, cy] = targetIn(*m_job.mode);
        for (int y = 0; y < height() - 1; ++y)
            for (int x = 0; x < width(); ++x)
                if (const double r = std::hypot(x - cx, y - cy) * m_job.mode->binning; r >= from && r < to) {
                    found.light += at(x, y);
                    ++found.pixels;
                }
        return found;
    }

    FrameComposer m_composer;
    SFrameJob m_job;
    std::vector<uint8_t> m_bytes;
};

} // namespace

TEST(SimulatedSky, LightFollowsExposureGainAndOccultation)
{
    Telescope telescope;
    const double once = telescope.targetLight();
    telescope.hideTarget(0.7);
    EXPECT_NEAR(telescope.targetLight() / once, 0.3, 0.02);
    telescope.hideTarget(0);
    EXPECT_NEAR(once, sTarget.electronsPerSecond * 0.1 * 0.25, 0.02 * once);
    telescope.settings().exposureMs = 200;
    EXPECT_NEAR(telescope.targetLight() / once, 2.0, 0.04);
    telescope.settings().exposureMs = 100;
    telescope.settings().gainDb = 6;
    telescope.settings().highGain = true;
    EXPECT_NEAR(telescope.targetLight() / once, 2 * std::pow(10, 0.3), 0.08);
}

TEST(SimulatedSky, NothingIsAboveSaturationAndSaturatedPixelsStayThere)
{
    Telescope telescope;
    telescope.settings() = {.exposureMs = 4000, .gainDb = 48, .highGain = true};
    const auto [x, y] = targetIn(sensorModes()[2]);
    for (uint32_t i = 0; i < 20; ++i) {
        telescope.expose(i);
        ASSERT_EQ(telescope.at(static_cast<int>(x), static_cast<int>(y)), 4095);
    }
}

TEST(SimulatedSky, FlipsMirrorTheLight)
{
    Telescope telescope;
    telescope.settings().gainDb = 20;
    const auto [tx, ty] = targetIn(sensorModes()[2]);
    const int x = static_cast<int>(std::lround(tx)), y = static_cast<int>(std::lround(ty));
    const int right = telescope.width() - 1, bottom = telescope.height() - 1;
    telescope.expose();
    const int bright = telescope.at(x, y), sky = telescope.at(right - x, y);
    ASSERT_GT(bright, 2 * sky);
    const auto isBright = [&](int px, int py) { return std::abs(telescope.at(px, py) - bright) < bright / 4; };
    telescope.settings().flipX = true;
    telescope.expose();
    EXPECT_TRUE(isBright(right - x, y));
    telescope.settings().flipY = true;
    telescope.expose();
    EXPECT_TRUE(isBright(right - x, bottom - y));
}

TEST(Schedule, CountsTheHiddenPartOfAnExposure)
{
    const SOccultation once{100, 50, 0, 1.0};
    EXPECT_DOUBLE_EQ(visiblePart(once, 0, 100), 1.0);
    EXPECT_DOUBLE_EQ(visiblePart(once, 90, 110), 0.5);
    EXPECT_DOUBLE_EQ(visiblePart(once, 110, 140), 0.0);
    EXPECT_DOUBLE_EQ(visiblePart(once, 50, 250), 0.75);
    EXPECT_DOUBLE_EQ(visiblePart(once, 300, 310), 1.0);
    const SOccultation often{100, 50, 200, 0.4};
    EXPECT_DOUBLE_EQ(visiblePart(often, 300, 350), 0.6);
    EXPECT_DOUBLE_EQ(visiblePart(often, 0, 500), 1.0 - 0.4 * 100 / 500);
}

namespace {

/// A FITS file of 2 x 2 pixels, whole unless cut short.
std::string writeFits(const std::string& cards, size_t cut = 0)
{
    static const int16_t pixels[] = {-5, 0, 100, 32767};
    std::string text;
    for (size_t from = 0; from < cards.size(); from = cards.find('\n', from) + 1) {
        text += cards.substr(from, cards.find('\n', from) - from);
        text.resize((text.size() + 79) / 80 * 80, ' ');
    }
    text += "END";
    text.resize(2880, ' ');
    for (const int16_t pixel : pixels)
        text += {static_cast<char>(pixel >> 8), static_cast<char>(pixel)};
    text.resize(text.size() - cut);
    const std::string path = testing::TempDir() + "simulated-sky.fits";
    std::ofstream(path, std::ios::binary) << text;
    return path;
}
const std::string sTwoByTwo =
    "SIMPLE  =                    T\nBITPIX  =                   16 / bits\n"
    "NAXIS   =                    2\nNAXIS1  =                    2\nNAXIS2  =                    2\n";

} // namespace

TEST(FitsPicture, IsReadWithItsZeroPoint)
{
    EXPECT_EQ(readFitsPicture(writeFits(sTwoByTwo)).pixels, (std::vector<float>{0, 0, 100, 32767}));
    const std::string shifted = sTwoByTwo + "BZERO   =              32768.5\nBSCALE  =                 0.5\n";
    EXPECT_EQ(readFitsPicture(writeFits(shifted)).pixels, (std::vector<float>{32766, 32768.5, 32818.5, 49152}));
}

TEST(FitsPicture, IsRefusedWhenItIsNoPicture)
{
    EXPECT_THROW(readFitsPicture("/nonexistent.fits"), std::runtime_error);
    EXPECT_THROW(readFitsPicture(writeFits(sTwoByTwo, 1)), std::runtime_error);
    EXPECT_THROW(readFitsPicture(writeFits("SIMPLE  = T\nBITPIX  = -32\nNAXIS   = 2\n")), std::runtime_error);
    EXPECT_THROW(readFitsPicture(writeFits(sTwoByTwo + "NAXIS1  =                99999\n")), std::runtime_error);
}
