#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Images that a coder meets. Equal seeds give equal images.
namespace lag1images {

using Image = std::vector<uint16_t>;

/// 12-bit samples in the upper bits: a dark sky with noise, and stars of all magnitudes.
inline Image sky(int width, int height, unsigned seed = 1)
{
    std::mt19937 random(seed);
    std::normal_distribution<float> noise(180.0f, 14.0f);
    std::vector<float> light(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (float& pixel : light)
        pixel = noise(random);
    std::uniform_real_distribution<float> place(0, 1);
    for (size_t star = 0; star < light.size() / 4000 + 1; ++star) {
        const float x0 = place(random) * float(width), y0 = place(random) * float(height);
        const float peak = 40 * std::pow(place(random) + 0.003f, -1.2f);
        for (int y = std::max(0, int(y0) - 8); y < std::min(height, int(y0) + 9); ++y)
            for (int x = std::max(0, int(x0) - 8); x < std::min(width, int(x0) + 9); ++x)
                light[size_t(y) * size_t(width) + size_t(x)] +=
                    peak * std::exp(-((float(x) - x0) * (float(x) - x0) + (float(y) - y0) * (float(y) - y0)) / 6);
    }
    Image image(light.size());
    std::transform(light.begin(), light.end(), image.begin(),
                   [](float pixel) { return uint16_t(int(std::clamp(pixel, 0.0f, 4095.0f)) << 4); });
    return image;
}

/// Samples spread evenly over `values` numbers that lie `step` apart.
inline Image noise(size_t samples, unsigned values, unsigned step = 1, unsigned seed = 1)
{
    std::mt19937 random(seed);
    Image image(samples);
    for (uint16_t& sample : image)
        sample = static_cast<uint16_t>(random() % values * step);
    return image;
}

} // namespace lag1images
