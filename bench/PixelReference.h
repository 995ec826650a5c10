#pragma once

#include "ZoneMatrix.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

/// What frame processing means, one pixel at a time; slow on purpose, and the plain side of the benchmarks.
/// Takes the same buffers as FrameProcessing and leaves the same bits in them.
class PixelReference {
public:
    PixelReference(int width, int height, int isCompressed, uint16_t* frame, const uint16_t* dark, const uint16_t* flat)
        : m_width(width), m_height(height), m_isCompressed(isCompressed), m_frame(frame), m_dark(dark), m_flat(flat),
          m_lineAverages(static_cast<size_t>(height))
    {
    }

    /// What a preview is made with and from.
    struct SPreview {
        uint32_t* rgb;
        uint64_t* bins;
        const uint32_t* curve;
        uint16_t* profile;
        int profileX, profileY, rawRows, rawColumns, highByte, inverted, skipText, showOverflow;
        const libobribase::ZoneMatrix* zones;
    };

    int m_width, m_height, m_isCompressed;
    uint16_t* m_frame;
    const uint16_t *m_dark, *m_flat;
    bool m_meanValid = false;
    uint32_t m_mean = 0;
    int m_lowerBound = 0, m_upperBound = 0;
    std::vector<int32_t> m_lineAverages;
    int m_textWidth = 0, m_textHeight = 0;

    void decode(const uint8_t* raw)
    {
        const int rowBytes = m_isCompressed ? (m_width + 7) / 8 * 12 : m_width * 2;
        uint64_t sum = 0;
        int64_t count = 0;
        for (int y = 0; y < m_height; ++y) {
            const uint8_t* row = raw + int64_t{y} * rowBytes;
            for (int x = 0; x < m_width; ++x) {
                const int pixel = m_isCompressed ? packed(row + x / 8 * 12, x % 8) : unpacked(word(row, x));
                m_frame[at(x, y)] = static_cast<uint16_t>(pixel);
                const int chunk = x / 8 * 8;
                if (y >= 16 && y <= m_height - 19 && chunk >= 104 && chunk < m_width - 100) {
                    sum += static_cast<uint64_t>(pixel);
                    ++count;
                }
            }
        }
        m_meanValid = count > 0;
        m_mean = count > 0 ? static_cast<uint32_t>(sum / static_cast<uint64_t>(count)) : 0;
        m_lowerBound = std::max(static_cast<int>(m_mean) - 1024, 0);
        m_upperBound = std::min(static_cast<int>(m_mean) + 1024, 65535);
    }

    void lineAverages()
    {
        if (!m_meanValid)
            return;
        int64_t total = 0;
        for (int y = 0; y < m_height; ++y) {
            m_lineAverages[y] = rowAverage(y);
            total += m_lineAverages[y];
        }
        for (auto& average : m_lineAverages)
            average -= static_cast<int32_t>(total / m_height);
    }

    void correct(int lineNoise, int keepRows, int pedestal, int flatScale)
    {
        for (int y = 0; y < m_height; ++y) {
            if (y >= m_height - 1 - keepRows)
                lineNoise = 0;
            for (int x = 0; x < m_width; ++x) {
                int v = m_frame[at(x, y)];
                if (lineNoise)
                    v = std::clamp(v - m_lineAverages[y], 0, 65535);
                v = withoutDark(v, m_dark[at(x, y)], pedestal);
                if (flatScale != 0)
                    v = withFlat(v, m_flat[at(x, y)], flatScale);
                m_frame[at(x, y)] = static_cast<uint16_t>(v);
            }
        }
    }

    void preview(const SPreview& p) const
    {
        memset(p.profile, 0, 33 * sizeof *p.profile);
        memset(p.bins, 0, 1024 * sizeof *p.bins);
        for (int y = 0; y < m_height; ++y) {
            for (int x = 0; x < m_width; ++x) {
                const int pixel = m_frame[at(x, y)];
                if (y >= m_height - p.rawRows || x < p.rawColumns) {
                    p.rgb[at(x, y)] = static_cast<uint32_t>(pixel >> 8) * 0x010101;
                    continue;
                }
                if (y == p.profileY && x >= p.profileX - 16 && x <= p.profileX + 16)
                    p.profile[x - p.profileX + 16] = static_cast<uint16_t>(p.highByte ? pixel >> 8 : pixel);
                if (y > 16 && y < m_height - 16)
                    ++p.bins[pixel >> 6];
                p.rgb[at(x, y)] = colour(x, y, pixel, p);
            }
        }
    }

private:
    size_t at(int x, int y) const
    {
        return static_cast<size_t>(y) * static_cast<size_t>(m_width) + static_cast<size_t>(x);
    }

    static int word(const uint8_t* bytes, int index) { return bytes[index * 2] | bytes[index * 2 + 1] << 8; }

    static int unpacked(int w) { return (w & 0xFF) << 8 | (w >> 8 & 0xF) << 4; }

    static int packed(const uint8_t* group, int index)
    {
        switch (index) {
        case 0:
        case 1:
            return word(group, index) & 0xFFF0;
        case 2:
        case 3:
            return (word(group, index) & 0xFF00) | (word(group, index - 2) & 0xF) << 4;
        case 4:
        case 5:
            return (word(group, index - 2) << 4 & 0x0FF0) | (word(group, index) & 0xF000);
        default:
            return word(group, index - 2) << 4 & 0xFFF0;
        }
    }

    int32_t rowAverage(int y) const
    {
        uint32_t sum = 0; // a signed sum that may wrap
        int32_t count = 0;
        for (int x = 21; x < m_width; ++x) {
            const int pixel = m_frame[at(x, y)];
            if (pixel >= m_lowerBound && pixel <= m_upperBound) {
                sum += static_cast<uint32_t>(pixel);
                ++count;
            }
        }
        return count > 9 ? static_cast<int32_t>(sum) / count : static_cast<int32_t>(m_mean);
    }

    static int withoutDark(int v, int d, int pedestal)
    {
        return v + pedestal <= d ? 0 : v > 65535 - pedestal ? 65535 : v + pedestal - d;
    }

    static int withFlat(int v, int f, int scale)
    {
        if (f == 0)
            return 65535;
        return static_cast<int32_t>(static_cast<uint32_t>(scale) * static_cast<uint32_t>(v)) / f & 0xFFFF;
    }

    uint32_t colour(int x, int y, int pixel, const SPreview& p) const
    {
        const uint32_t plain = p.curve[pixel];
        if (p.zones && p.zones->isEnabled())
            return zoneColour(x, y, plain, *p.zones);
        if (!p.showOverflow || (p.skipText && y < m_textHeight && x < m_textWidth))
            return plain;
        if (p.inverted)
            return pixel < 1312 ? plain | 0xFF0000 : pixel < 6555 ? plain | 0xFFFF00 : plain;
        return pixel > 64224 ? plain & 0xFF0000 : pixel > 58981 ? plain & 0xFFFF00 : plain;
    }

    static uint32_t zoneColour(int x, int y, uint32_t plain, const libobribase::ZoneMatrix& zones)
    {
        const int zx = x / 64, zy = y / 64;
        const uint32_t low = plain & 0xFF, half = low >> 1, boost = low >= 128 ? 255 : 2 * low;
        if (!zones.isZoneEnabled(zx, zy))
            return boost << 16 | half << 8 | half;
        const bool border =
            (x % 64 < 2 && !zones.isZoneEnabled(zx - 1, zy)) || (x % 64 > 61 && !zones.isZoneEnabled(zx + 1, zy)) ||
            (y % 64 < 2 && !zones.isZoneEnabled(zx, zy - 1)) || (y % 64 > 61 && !zones.isZoneEnabled(zx, zy + 1));
        return border ? half << 16 | boost << 8 | half : plain;
    }
};
