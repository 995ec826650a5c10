#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

// Images that a coder meets, and a few that it should never meet. Equal seeds give equal images.
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

/// Samples that a function draws one after the other from random numbers and their place.
template <typename Draw>
Image drawn(size_t samples, unsigned seed, Draw draw)
{
    std::mt19937 random(seed);
    Image image(samples);
    for (size_t i = 0; i < samples; ++i)
        image[i] = static_cast<uint16_t>(draw(random, i));
    return image;
}

/// Samples spread evenly over `values` numbers that lie `step` apart.
inline Image noise(size_t samples, unsigned values, unsigned step = 1, unsigned seed = 1)
{
    return drawn(samples, seed, [=](auto& random, size_t) { return random() % values * step; });
}

/// A ramp along the lines with a little noise.
inline Image gradient(int width, int height)
{
    return drawn(size_t(width) * size_t(height), 3, [=](auto& random, size_t i) {
        return (200 + int(i % size_t(width)) * 1500 / width + int(random() % 4)) << 4;
    });
}

/// An evenly lit frame: shot noise on half of the scale.
inline Image flat(size_t samples)
{
    std::normal_distribution<float> light(2000.0f, 32.0f);
    return drawn(samples, 4, [&](auto& random, size_t) { return int(light(random)) << 4; });
}

/// Three values nearly everywhere, and one sample in a thousand is bright.
inline Image fewValues(size_t samples)
{
    return drawn(samples, 7, [](auto& random, size_t) {
        const auto value = 0x0B40 + 16 * (random() % 3);
        return value + (random() % 1000 == 0 ? 0x4000 : 0);
    });
}

/// Every 16-bit value, some much more often than others.
inline Image everyValue(size_t samples)
{
    return drawn(samples, 5, [](auto& random, size_t i) { return i < 65536 ? i * 40503 : random() % 50; });
}

/// Takes a number from each line's samples, as a correction for line noise does.
inline Image withoutLineNoise(Image image, int width)
{
    std::mt19937 random(6);
    for (size_t i = 0, offset = 0; i < image.size(); ++i) {
        offset = i % size_t(width) == 0 ? random() % 97 : offset;
        image[i] = uint16_t(image[i] - std::min<size_t>(image[i], offset));
    }
    return image;
}

} // namespace lag1images
