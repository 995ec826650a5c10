// The sky by its physics: light in proportion to exposure and gain, saturation, occultations.
#include "FrameComposer.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace obrisim;

namespace {

/// Frames of one sky, looked at in converter steps.
class SimulatedSky : public testing::Test {
protected:
    SimulatedSky() : m_bytes(static_cast<size_t>(sensorModes()[2].bytes()))
    {
        m_composer.keepPixels(true);
        m_job.mode = &sensorModes()[2];
        settings().exposureMs = 100;
    }

    SSettings& settings() { return m_job.overlay.settings; }

    /// All light in a square around the target. The frames' noise is the same in every call.
    double light(double hiddenPart)
    {
        const auto [centreX, centreY] = targetIn(*m_job.mode);
        const int left = static_cast<int>(centreX) - sReach, top = static_cast<int>(centreY) - sReach;
        m_job.targetPart = 1 - hiddenPart;
        double sum = 0;
        for (uint32_t& frame = m_job.overlay.frameId = 0; frame < sFrames; ++frame) {
            m_composer.compose(m_job, m_bytes.data());
            for (int i = 0; i < sPixels; ++i) {
                const int x = left + i % sSide, y = top + i / sSide;
                sum += m_composer.pixels()[static_cast<size_t>(y * m_job.mode->width + x)] >> 4;
            }
        }
        return sum / sFrames;
    }
    double targetLight(double hiddenPart = 0) { return light(hiddenPart) - light(1); }

    static constexpr uint32_t sFrames = 20;
    static constexpr int sReach = 10, sSide = 2 * sReach + 1, sPixels = sSide * sSide;
    FrameComposer m_composer{makeStarField(1), 1};
    SFrameJob m_job;
    std::vector<uint8_t> m_bytes;
};

} // namespace

TEST_F(SimulatedSky, LightFollowsExposureGainAndOccultationUpToSaturation)
{
    const double once = targetLight();
    EXPECT_NEAR(once, sTarget.electronsPerSecond * 0.1 * 0.25, 0.02 * once);
    EXPECT_NEAR(targetLight(0.7) / once, 0.3, 0.02);
    settings().exposureMs = 200;
    EXPECT_NEAR(targetLight() / once, 2.0, 0.04);
    settings() = {.exposureMs = 100, .gainDb = 6, .highGain = true};
    EXPECT_NEAR(targetLight() / once, 2 * std::pow(10, 0.3), 0.08);
    settings() = {.exposureMs = 4000, .gainDb = 48, .highGain = true};
    EXPECT_EQ(light(0), 4095 * sPixels); // no noise takes a pixel away from saturation
}
