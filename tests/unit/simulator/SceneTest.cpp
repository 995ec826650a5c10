// The sky by its physics: light in proportion to exposure and gain, noise, saturation, occultations.
#include "FrameComposer.h"

#include <cmath>
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

    void expose(uint32_t frameId)
    {
        m_job.overlay.frameId = frameId;
        m_composer.compose(m_job, m_bytes.data());
    }

    int at(int x, int y) const { return m_composer.pixels()[static_cast<size_t>(y * m_job.mode->width + x)] >> 4; }

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
        for (int y = 0; y < m_job.mode->height - 1; ++y)
            for (int x = 0; x < m_job.mode->width; ++x)
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
