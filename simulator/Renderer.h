#pragma once
#include "SensorMode.h"
#include "Settings.h"
#include "Sky.h"

#include <cstdint>
#include <vector>

namespace obrisim {

/// Turns light into the samples of one frame after another.
///
/// What does not change from frame to frame (the mean level and the noise of every pixel) is worked
/// out when the mode or the settings change; a frame is then one pass over its pixels. A frame's
/// pixels depend on the seed, its number, the mode, the settings and the target's light alone.
/// One thread at a time.
class Renderer {
public:
    Renderer(SSky sky, uint64_t seed);

    /// Makes ready for frames of this mode and these settings; cheap when nothing has changed.
    void prepare(const SSensorMode& mode, const SSettings& settings);

    /// Makes ready for one frame. @param targetPart  the part of the target's light that is seen, 0..1
    void beginFrame(uint32_t frameId, double targetPart);

    /// Renders one row, 0..height-1, of the mode's width of 12-bit samples.
    void renderRow(int row, uint16_t* samples) const;

private:
    void preparePlanes();
    void preparePixel(size_t at, double electrons);
    void prepareTarget();
    void showTarget();
    int lightRow(int row) const;
    double binnedRate(int x, int y) const;
    double targetShare(int x, int y) const;
    int noiseAt(uint64_t random) const;

    struct STargetPixel {
        size_t at;
        double electrons, targetElectrons;
    };

    SSky m_sky;
    uint64_t m_seed;
    const SSensorMode* m_mode = nullptr;
    SSettings m_settings;
    double m_steps = 0, m_read = 0; // converter steps per electron, electrons of read noise
    std::vector<int16_t> m_mean;    // quarters of a converter step
    std::vector<int16_t> m_sigma;   // 64ths of a converter step
    std::vector<int16_t> m_noise;   // the tile: normal deviates in 4096ths
    std::vector<STargetPixel> m_target;
    double m_targetPart = 1.0, m_shownPart = -1.0;
    uint64_t m_frameKey = 0;
};

/// Rows at the bottom that the camera's dark rows and its readable text take up, the binary row included.
constexpr int bottomRows(const SSensorMode& mode)
{
    return mode.width == 176 ? 8 : 16;
}

} // namespace obrisim
