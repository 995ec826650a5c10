#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

/// Frames to time with: what the camera sees at night, and what is harder or easier than that.
enum class EScene { Stars, BrightStars, Noise, Constant };

namespace starfield {

inline uint16_t toPixel(double sample)
{
    return static_cast<uint16_t>(std::clamp(static_cast<int>(sample), 0, 4095) << 4);
}

inline void addStar(std::vector<double>& samples, int width, int height, double x, double y, double peak)
{
    constexpr int sReach = 6;
    constexpr double sWidth = 1.6;
    for (int row = static_cast<int>(y) - sReach; row <= static_cast<int>(y) + sReach; ++row)
        for (int column = static_cast<int>(x) - sReach; column <= static_cast<int>(x) + sReach; ++column)
            if (row >= 0 && row < height && column >= 0 && column < width) {
                const double distance2 = (column - x) * (column - x) + (row - y) * (row - y);
                samples[static_cast<size_t>(row) * width + column] +=
                    peak * std::exp(-distance2 / (2 * sWidth * sWidth));
            }
}

/// Sky with noise and a star for every thousand pixels or so, faint ones more often than bright ones.
inline std::vector<double> sky(int width, int height, double level, std::mt19937& random)
{
    std::normal_distribution<double> noise(level, 14);
    std::vector<double> samples(static_cast<size_t>(width) * static_cast<size_t>(height));
    for (auto& sample : samples)
        sample = noise(random);
    std::uniform_real_distribution<double> unit(0, 1);
    for (size_t star = 0; star < samples.size() / 1000; ++star)
        addStar(samples, width, height, unit(random) * width, unit(random) * height, 40 / (unit(random) + 0.005));
    return samples;
}

/// Decoded pixels of a scene; the same at every call.
inline std::vector<uint16_t> pixels(EScene scene, int width, int height)
{
    std::mt19937 random(1624);
    std::vector<uint16_t> frame(static_cast<size_t>(width) * static_cast<size_t>(height), 0x2340);
    if (scene == EScene::Noise)
        for (auto& pixel : frame)
            pixel = static_cast<uint16_t>(random() & 0xFFF0);
    if (scene == EScene::Stars || scene == EScene::BrightStars) {
        const auto samples = sky(width, height, scene == EScene::Stars ? 210 : 3850, random);
        std::transform(samples.begin(), samples.end(), frame.begin(), toPixel);
    }
    return frame;
}

inline void putWord(std::vector<uint8_t>& raw, int word)
{
    raw.push_back(static_cast<uint8_t>(word));
    raw.push_back(static_cast<uint8_t>(word >> 8));
}

/// What the camera sends for these pixels, a sample in each word.
inline std::vector<uint8_t> unpacked(const std::vector<uint16_t>& frame)
{
    std::vector<uint8_t> raw;
    for (const int p : frame)
        putWord(raw, p >> 8 | (p << 4 & 0x0F00));
    return raw;
}

/// What the camera sends for these pixels, eight in twelve bytes. Their number is a multiple of 8.
inline std::vector<uint8_t> packed(const std::vector<uint16_t>& frame)
{
    std::vector<uint8_t> raw;
    for (const uint16_t* p = frame.data(); p < frame.data() + frame.size(); p += 8) {
        putWord(raw, p[0] | (p[2] >> 4 & 0xF));
        putWord(raw, p[1] | (p[3] >> 4 & 0xF));
        putWord(raw, (p[2] & 0xFF00) | (p[4] >> 4 & 0xFF));
        putWord(raw, (p[3] & 0xFF00) | (p[5] >> 4 & 0xFF));
        putWord(raw, (p[4] & 0xF000) | p[6] >> 4);
        putWord(raw, (p[5] & 0xF000) | p[7] >> 4);
    }
    return raw;
}

} // namespace starfield
