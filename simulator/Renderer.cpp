#include "Renderer.h"

#include "Random.h"
#include "RowKernel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace obrisim {

constexpr int sTileSize = 1 << 16;

// Bounds in converter steps that keep a sample's sum, in quarters, within 16 bits. The mean may lie
// above what the converter can tell, or noise would pull saturated pixels below it.
constexpr double sLargestDeviate = 6.0, sLargestSigma = 300.0, sLargestRowOffset = 120.0;
constexpr double sLargestMean = 4095.0 + sLargestRowOffset + sLargestDeviate * sLargestSigma;
static_assert(4.0 * (sLargestMean + sLargestRowOffset + sLargestDeviate * sLargestSigma) < 32700.0);

static std::vector<int16_t> makeNoiseTile(uint64_t seed)
{
    std::vector<int16_t> tile(sTileSize + sSensorWidth);
    for (size_t i = 0; i < tile.size(); ++i) {
        // Box and Muller's transform.
        const double radius = std::sqrt(-2.0 * std::log(1.0 - unit(mix(seed, 2 * i))));
        const double deviate = radius * std::cos(2.0 * std::numbers::pi * unit(mix(seed, 2 * i + 1)));
        tile[i] = static_cast<int16_t>(std::lround(4096.0 * std::clamp(deviate, -sLargestDeviate, sLargestDeviate)));
    }
    return tile;
}

Renderer::Renderer(SSky sky, uint64_t seed)
    : m_sky(std::move(sky)), m_seed(mix(seed, 0xca3)), m_noise(makeNoiseTile(m_seed))
{
}

void Renderer::prepare(const SSensorMode& mode, const SSettings& settings)
{
    if (m_mode == &mode && m_settings == settings)
        return;
    m_mode = &mode;
    m_settings = settings;
    m_steps = stepsPerElectron(settings);
    m_read = readNoiseElectrons(settings);
    preparePlanes();
    prepareTarget();
}

double Renderer::binnedRate(int x, int y) const
{
    const int n = m_mode->binning, sensorX = m_mode->originX + x * n, sensorY = m_mode->originY + y * n;
    const float* from = &m_sky.rates[size_t(sensorY) * sSensorWidth + static_cast<size_t>(sensorX)];
    double sum = 0;
    for (int dy = 0; dy < n; ++dy)
        for (int dx = 0; dx < n; ++dx)
            sum += from[size_t(dy) * sSensorWidth + dx];
    return sum / (n * n);
}

static int16_t rounded(double value)
{
    return static_cast<int16_t>(value + 0.5); // NOLINT(bugprone-incorrect-roundings): never negative, and millions
}

// Levels and noise of one pixel that collects so many electrons.
void Renderer::preparePixel(size_t at, double electrons)
{
    const double mean = m_settings.blackLevel + m_steps * electrons;
    const double variance = m_steps * m_steps * (m_read * m_read + electrons) / (m_mode->binning * m_mode->binning);
    m_mean[at] = rounded(4.0 * std::min(mean, sLargestMean));
    m_sigma[at] = rounded(64.0 * std::min(std::sqrt(variance + 0.1), sLargestSigma));
}

void Renderer::preparePlanes()
{
    const int width = m_mode->width, height = m_mode->height;
    const double seconds = m_settings.exposureMs / 1000.0;
    m_mean.resize(size_t(width) * height);
    m_sigma.resize(m_mean.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            preparePixel(size_t(y) * width + x, seconds * binnedRate(x, y));
}

// The part of the target's light that falls on a pixel; binned pixels are a mean.
double Renderer::targetShare(int x, int y) const
{
    const int n = m_mode->binning, sensorX = m_mode->originX + x * n, sensorY = m_mode->originY + y * n;
    double share = 0;
    for (int dy = 0; dy < n; ++dy)
        for (int dx = 0; dx < n; ++dx)
            share += pointSpread(sensorX + dx - sTarget.x, sensorY + dy - sTarget.y);
    return share / (n * n);
}

void Renderer::prepareTarget()
{
    const SPosition centre = targetIn(*m_mode);
    const int reach = sSpreadRadius / m_mode->binning + 1;
    const double seconds = m_settings.exposureMs / 1000.0;
    const int cx = static_cast<int>(std::lround(centre.x)), cy = static_cast<int>(std::lround(centre.y));
    m_target.clear();
    m_shownPart = -1.0;
    for (int y = cy - reach; y <= cy + reach; ++y)
        for (int x = cx - reach; x <= cx + reach; ++x)
            m_target.push_back({size_t(y) * m_mode->width + x, seconds * binnedRate(x, y),
                                seconds * sTarget.electronsPerSecond * targetShare(x, y)});
}

void Renderer::showTarget()
{
    if (m_shownPart == m_targetPart)
        return;
    m_shownPart = m_targetPart;
    for (const STargetPixel& pixel : m_target)
        preparePixel(pixel.at, pixel.electrons + m_targetPart * pixel.targetElectrons);
}

void Renderer::beginFrame(uint32_t frameId, double targetPart)
{
    m_targetPart = targetPart;
    m_frameKey = mix(m_seed, frameId);
    showTarget();
}

int Renderer::noiseAt(uint64_t random) const
{
    return m_noise[random % sTileSize];
}

int Renderer::lightRow(int row) const
{
    return m_settings.flipY ? m_mode->height - 1 - row : row;
}

void Renderer::renderRow(int row, uint16_t* samples) const
{
    const uint64_t random = mix(m_frameKey, static_cast<uint64_t>(row));
    // The read-out's own disturbance, the same for all pixels of a row: a fifth of the read noise.
    const double rowOffset = 0.2 * m_steps * m_read * noiseAt(random >> 20) / 4096.0;
    const size_t at = size_t(lightRow(row)) * m_mode->width;
    const bool dark = m_settings.darkRows && row >= m_mode->height - bottomRows(*m_mode);
    SRowJob job;
    job.width = m_mode->width;
    job.mean = &m_mean[at];
    job.sigma = &m_sigma[at];
    job.noise = &m_noise[random % sTileSize];
    job.offset = static_cast<int16_t>(4.0 * std::clamp(rowOffset, -sLargestRowOffset, sLargestRowOffset));
    job.invert = m_settings.inverted ? 4095 : 0;
    if (dark)
        renderDark(job, static_cast<int16_t>(4 * std::min(m_settings.blackLevel, 4095)), samples);
    else
        renderLight(job, samples);
    if (m_settings.flipX)
        std::reverse(samples, samples + job.width);
}

} // namespace obrisim
