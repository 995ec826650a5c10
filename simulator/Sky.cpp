#include "Sky.h"

#include "FitsSky.h"
#include "Random.h"

#include <algorithm>
#include <cmath>

namespace obrisim {

// Light of a good seeing disc: a Gaussian of 3.5 pixels full width at half maximum.
constexpr double sSpreadSigma = 3.5 / 2.3548;
constexpr double sSkyRate = 20.0; // electrons a second and pixel, of a dark site

static double spreadAlong(double from, double to)
{
    const double scale = sSpreadSigma * std::sqrt(2.0);
    return 0.5 * (std::erf(to / scale) - std::erf(from / scale));
}

double pointSpread(double dx, double dy)
{
    return spreadAlong(dx - 0.5, dx + 0.5) * spreadAlong(dy - 0.5, dy + 0.5);
}

static void addStar(std::vector<float>& rates, const SStar& star)
{
    const int cx = static_cast<int>(std::lround(star.x)), cy = static_cast<int>(std::lround(star.y));
    for (int y = std::max(0, cy - sSpreadRadius); y <= std::min(sSensorHeight - 1, cy + sSpreadRadius); ++y)
        for (int x = std::max(0, cx - sSpreadRadius); x <= std::min(sSensorWidth - 1, cx + sSpreadRadius); ++x)
            rates[size_t(y) * sSensorWidth + x] +=
                static_cast<float>(star.electronsPerSecond * pointSpread(x - star.x, y - star.y));
}

// Ever fewer bright stars: each magnitude has about 2.5 times as many as the one above it.
static SStar makeStar(uint64_t seed, int number)
{
    const uint64_t key = mix(seed, static_cast<uint64_t>(number));
    const double x = unit(mix(key, 1)) * sSensorWidth, y = unit(mix(key, 2)) * sSensorHeight;
    const double light = 400.0 / (unit(mix(key, 3)) + 0.002);
    return {x, y, light};
}

static bool disturbsTarget(const SStar& star)
{
    return std::hypot(star.x - sTarget.x, star.y - sTarget.y) < 30.0;
}

SSky makeStarField(uint64_t seed)
{
    SSky sky;
    sky.rates.assign(size_t{sSensorWidth} * sSensorHeight, static_cast<float>(sSkyRate));
    constexpr int starCount = 700;
    for (int i = 0; i < starCount; ++i)
        if (const SStar star = makeStar(seed, i); !disturbsTarget(star))
            sky.stars.push_back(star);
    for (const SStar& star : sky.stars)
        addStar(sky.rates, star);
    return sky;
}

static int mirrored(int at, int size)
{
    at %= 2 * size;
    return at < size ? at : 2 * size - 1 - at;
}

static float quantile(std::vector<float> values, double part)
{
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

// What most of the picture's pixels are becomes a dark site's sky, its brightest those of a bright star.
SSky makeSkyFromFits(const std::string& path)
{
    const SPicture picture = readFitsPicture(path);
    const float dark = quantile(picture.pixels, 0.4), bright = quantile(picture.pixels, 0.999);
    const float scale = 3000.0f / std::max(1.0f, bright - dark);
    SSky sky;
    sky.rates.resize(size_t{sSensorWidth} * sSensorHeight);
    for (int y = 0; y < sSensorHeight; ++y)
        for (int x = 0; x < sSensorWidth; ++x) {
            const size_t at = size_t(mirrored(y, picture.height)) * picture.width + mirrored(x, picture.width);
            const float light = std::max(0.0f, picture.pixels[at] - dark) * scale;
            sky.rates[size_t(y) * sSensorWidth + x] = static_cast<float>(sSkyRate) + light;
        }
    return sky;
}

SPosition targetIn(const SSensorMode& mode)
{
    // A binned pixel's middle lies between the sensor pixels that it is made of.
    const double half = (mode.binning - 1) / 2.0;
    return {(sTarget.x - mode.originX - half) / mode.binning, (sTarget.y - mode.originY - half) / mode.binning};
}

} // namespace obrisim
