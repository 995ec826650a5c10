#include "FrameProcessing.h"

#include "PixelKernels.h"
#include "ZoneMatrix.h"

#include <algorithm>
#include <cstddef>

namespace libobribase {

namespace {

// Rows at the top and at the bottom that the histogram leaves out.
constexpr int sRowsNotCounted = 16;

constexpr int sZoneSize = ZoneMatrix::sZoneSize;
constexpr int sZoneLineWidth = 2;

uint32_t halfOf(uint32_t level)
{
    return level >> 1;
}

uint32_t doubleOf(uint32_t level)
{
    return std::min<uint32_t>(level * 2, 255);
}

/// Colours part of the line around the enabled zones.
void drawGreenLine(uint32_t* rgb, int count)
{
    for (int i = 0; i < count; ++i) {
        const uint32_t level = rgb[i] & 0xFF;
        rgb[i] = halfOf(level) << 16 | doubleOf(level) << 8 | halfOf(level);
    }
}

/// Colours pixels of a disabled zone.
void tintRed(uint32_t* rgb, int count)
{
    for (int i = 0; i < count; ++i) {
        const uint32_t level = rgb[i] & 0xFF;
        rgb[i] = doubleOf(level) << 16 | halfOf(level) << 8 | halfOf(level);
    }
}

/// Draws the zones over the columns begin..end - 1 of one row.
class ZoneRow {
public:
    ZoneRow(const ZoneMatrix& zones, int row, uint32_t* rgb, int begin, int end)
        : m_zones(zones), m_row(row), m_zoneY(row / sZoneSize), m_rgb(rgb), m_begin(begin), m_end(end)
    {
    }

    void draw() const
    {
        for (int zoneX = m_begin / sZoneSize; zoneX * sZoneSize < m_end; ++zoneX)
            drawZone(zoneX);
    }

private:
    void drawZone(int zoneX) const
    {
        const int left = zoneX * sZoneSize, right = left + sZoneSize;
        if (!m_zones.isZoneEnabled(zoneX, m_zoneY)) {
            paint(tintRed, left, right);
        } else if (isOnHorizontalLine(zoneX)) {
            paint(drawGreenLine, left, right);
        } else {
            if (!m_zones.isZoneEnabled(zoneX - 1, m_zoneY))
                paint(drawGreenLine, left, left + sZoneLineWidth);
            if (!m_zones.isZoneEnabled(zoneX + 1, m_zoneY))
                paint(drawGreenLine, right - sZoneLineWidth, right);
        }
    }

    bool isOnHorizontalLine(int zoneX) const
    {
        const int y = m_row % sZoneSize;
        return (y < sZoneLineWidth && !m_zones.isZoneEnabled(zoneX, m_zoneY - 1)) ||
               (y >= sZoneSize - sZoneLineWidth && !m_zones.isZoneEnabled(zoneX, m_zoneY + 1));
    }

    void paint(void (*brush)(uint32_t*, int), int left, int right) const
    {
        left = std::max(left, m_begin);
        right = std::min(right, m_end);
        if (left < right)
            brush(m_rgb + left, right - left);
    }

    const ZoneMatrix& m_zones;
    int m_row, m_zoneY;
    uint32_t* m_rgb;
    int m_begin, m_end;
};

void addUp(const SHistogramTables& tables, uint64_t* bins)
{
    for (int bin = 0; bin < sHistogramBins; ++bin) {
        bins[bin] = 0;
        for (const auto& counts : tables.counts)
            bins[bin] += counts[bin];
    }
}

} // namespace

void FrameProcessing::fillProfile(uint16_t* profile, int profileX, int profileY, int endRow, int firstColumn,
                                  int highByte) const
{
    std::fill_n(profile, sProfileEntries, uint16_t{0});
    if (profileY < 0 || profileY >= endRow)
        return;
    const uint16_t* pixels = m_frame + ptrdiff_t{profileY} * m_width;
    for (int i = 0; i < sProfileEntries; ++i) {
        const int64_t column = int64_t{profileX} + i - sProfileRadius;
        if (column >= firstColumn && column < m_width)
            profile[i] = static_cast<uint16_t>(highByte ? pixels[column] >> 8 : pixels[column]);
    }
}

void FrameProcessing::CreatePreview(BinaryOverlay*, ZoneMatrix* zones, uint32_t* rgb, uint64_t* histoBins,
                                    const uint32_t* transferCurve, uint16_t* profile, int profileX, int profileY,
                                    int rawRowsAtBottom, int rawColumnsAtLeft, int profileHighByte, int invertedMode,
                                    int skipTextArea, int showOverflow)
{
    const SPixelKernels& kernels = pixelKernels();
    const int endRow = m_height - std::clamp(rawRowsAtBottom, 0, m_height);
    const int left = std::clamp(rawColumnsAtLeft, 0, m_width);
    const bool showZones = zones && zones->isEnabled();
    SHistogramTables tables;

    for (int row = 0; row < endRow; ++row) {
        const uint16_t* pixels = m_frame + ptrdiff_t{row} * m_width;
        uint32_t* colours = rgb + ptrdiff_t{row} * m_width;
        kernels.grey(pixels, colours, left);
        if (row > sRowsNotCounted && row < m_height - sRowsNotCounted)
            kernels.colourAndCount(pixels + left, colours + left, m_width - left, transferCurve, tables);
        else
            kernels.colour(pixels + left, colours + left, m_width - left, transferCurve);
        if (showZones) {
            ZoneRow(*zones, row, colours, left, m_width).draw();
        } else if (showOverflow) {
            const bool keepsText = skipTextArea && row < m_textHeight;
            const int begin = std::min(keepsText ? std::max(left, m_textWidth) : left, m_width);
            kernels.markOverflow(pixels + begin, colours + begin, m_width - begin, invertedMode != 0);
        }
    }
    for (int row = endRow; row < m_height; ++row)
        kernels.grey(m_frame + ptrdiff_t{row} * m_width, rgb + ptrdiff_t{row} * m_width, m_width);

    addUp(tables, histoBins);
    fillProfile(profile, profileX, profileY, endRow, left, profileHighByte);
}

} // namespace libobribase
