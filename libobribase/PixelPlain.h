#pragma once

#include "PixelColour.h"
#include "PixelKernels.h"

#include <cstddef>

// The loops over pixels in portable code: one level of their own, and the ends of rows in the vector levels. The
// namespace has no name on purpose: each source that includes this compiles it for its own instruction level, and
// the linker must not share the copies.
namespace libobribase {
namespace {

inline unsigned littleEndian16(const uint8_t* bytes)
{
    return bytes[0] | static_cast<unsigned>(bytes[1]) << 8;
}

/// The sample's upper 8 bits lie in the word's low byte, its lower 4 bits in the low nibble of the high byte.
inline uint16_t decodedWord(unsigned word)
{
    return static_cast<uint16_t>((word << 8) | ((word >> 4) & 0x00F0));
}

inline uint64_t plainDecodeUnpacked(const uint8_t* raw, uint16_t* pixels, int count)
{
    uint64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        pixels[i] = decodedWord(littleEndian16(raw + ptrdiff_t{i} * 2));
        sum += pixels[i];
    }
    return sum;
}

/// Six words hold eight pixels: the words of the first four in place, the nibbles in between hold the rest.
inline void decodeGroup(const uint8_t* raw, uint16_t pixels[8])
{
    unsigned a[6];
    for (int i = 0; i < 6; ++i)
        a[i] = littleEndian16(raw + i * 2);
    pixels[0] = static_cast<uint16_t>(a[0] & 0xFFF0);
    pixels[1] = static_cast<uint16_t>(a[1] & 0xFFF0);
    pixels[2] = static_cast<uint16_t>((a[2] & 0xFF00) | ((a[0] & 0x000F) << 4));
    pixels[3] = static_cast<uint16_t>((a[3] & 0xFF00) | ((a[1] & 0x000F) << 4));
    pixels[4] = static_cast<uint16_t>((a[4] & 0xF000) | ((a[2] << 4) & 0x0FF0));
    pixels[5] = static_cast<uint16_t>((a[5] & 0xF000) | ((a[3] << 4) & 0x0FF0));
    pixels[6] = static_cast<uint16_t>((a[4] << 4) & 0xFFF0);
    pixels[7] = static_cast<uint16_t>((a[5] << 4) & 0xFFF0);
}

inline uint64_t plainDecodePacked(const uint8_t* raw, uint16_t* pixels, int count)
{
    uint64_t sum = 0;
    for (int begin = 0; begin < count; begin += 8, raw += 12) {
        uint16_t group[8];
        decodeGroup(raw, group);
        for (int i = 0; i < 8 && begin + i < count; ++i) {
            pixels[begin + i] = group[i];
            sum += group[i];
        }
    }
    return sum;
}

inline SPixelSum plainSumWithin(const uint16_t* pixels, int count, uint16_t low, uint16_t high)
{
    SPixelSum result{0, 0};
    for (int i = 0; i < count; ++i) {
        const bool within = pixels[i] >= low && pixels[i] <= high;
        result.sum += within ? pixels[i] : 0u;
        result.count += within;
    }
    return result;
}

inline bool plainIsZero(const uint16_t* pixels, int count)
{
    for (int i = 0; i < count; ++i)
        if (pixels[i] != 0)
            return false;
    return true;
}

inline int clampedTo16Bits(int value)
{
    return value < 0 ? 0 : value > 65535 ? 65535 : value;
}

inline int withoutDark(int pixel, int dark, int pedestal)
{
    // A pixel that saturates with the pedestal stays saturated: the dark is not subtracted from it, on purpose.
    if (pixel + pedestal > 65535)
        return 65535;
    return clampedTo16Bits(pixel + pedestal - dark);
}

inline uint16_t withFlat(int pixel, int flat, int scale)
{
    if (flat == 0)
        return 65535;
    // The product wraps as a 32-bit two's complement number, and the quotient is cut to 16 bits, on purpose.
    const auto product = static_cast<int32_t>(static_cast<uint32_t>(scale) * static_cast<uint32_t>(pixel));
    return static_cast<uint16_t>(product / flat);
}

inline void plainCorrect(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
                         const SPixelCorrection& correction)
{
    for (int i = 0; i < count; ++i) {
        const int pixel = clampedTo16Bits(pixels[i] + correction.lineAdd - correction.lineSubtract);
        const int result = withoutDark(pixel, dark[i], correction.pedestal);
        pixels[i] =
            correction.flatScale == 0 ? static_cast<uint16_t>(result) : withFlat(result, flat[i], correction.flatScale);
    }
}

inline void plainGrey(const uint16_t* pixels, uint32_t* rgb, int count)
{
    for (int i = 0; i < count; ++i)
        rgb[i] = (pixels[i] >> 8) * sGreyStep;
}

inline bool plainToSamples(const uint16_t* pixels, uint16_t* samples, int count)
{
    unsigned found = 0;
    for (int i = 0; i < count; ++i) {
        samples[i] = static_cast<uint16_t>(pixels[i] >> 4);
        found |= pixels[i];
    }
    return (found & 0x000F) == 0;
}

inline void plainShadeAndCount(const uint16_t* samples, const uint8_t* greys, uint32_t* rgb, int count,
                               PixelHistogram::Tables& tables)
{
    auto& [t0, t1, t2, t3] = tables;
    const auto bin = [](size_t sample) { return sample >> sSampleBinShift; };
    int i = 0;
    // Four a round: the loads of one need not wait for the stores of another.
    for (; i + 4 <= count; i += 4) {
        const size_t a = samples[i], b = samples[i + 1], c = samples[i + 2], d = samples[i + 3];
        const uint32_t ga = greys[a], gb = greys[b], gc = greys[c], gd = greys[d];
        ++t0[bin(a)], ++t1[bin(b)], ++t2[bin(c)], ++t3[bin(d)];
        rgb[i] = ga * sGreyStep, rgb[i + 1] = gb * sGreyStep, rgb[i + 2] = gc * sGreyStep, rgb[i + 3] = gd * sGreyStep;
    }
    for (; i < count; ++i) {
        rgb[i] = greys[samples[i]] * sGreyStep;
        ++t0[bin(samples[i])];
    }
}

inline void plainMarkOverflow(const uint16_t* pixels, uint32_t* rgb, int count, bool inverted)
{
    for (int i = 0; i < count; ++i)
        rgb[i] = markedColour(rgb[i], pixels[i], inverted);
}

} // namespace
} // namespace libobribase
