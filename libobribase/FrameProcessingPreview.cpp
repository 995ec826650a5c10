#include "FrameProcessing.h"

#include "PixelColour.h"
#include "PixelKernels.h"
#include "ZoneMatrix.h"

#include <algorithm>
#include <cstddef>
#include <optional>

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

/// How the rows of one preview become colours.
class PreviewRows {
public:
    struct SOptions {
        int width, height;
        const uint32_t* curve;
        const ZoneMatrix* zones; ///< null: none are shown
        bool showOverflow, inverted;
        int left;                  ///< the first column that is not plain grey
        int textWidth, textHeight; ///< the corner without marks
    };

    PreviewRows(const SOptions& options, uint64_t* bins)
        : m_options(options), m_kernels(pixelKernels()), m_histogram(bins)
    {
        if (int64_t{options.width} * options.height >= sLargeFrame && options.width <= SampleColours::sLongestRun)
            m_samples.emplace(options.curve, options.showOverflow && !options.zones, options.inverted);
    }

    void paint(int row, const uint16_t* pixels, uint32_t* rgb)
    {
        const int left = m_options.left;
        m_kernels.grey(pixels, rgb, left);
        const bool isMarked = colour(row, pixels + left, rgb + left);
        if (m_options.zones)
            ZoneRow(*m_options.zones, row, rgb, left, m_options.width).draw();
        else if (m_options.showOverflow && !isMarked)
            mark(row, pixels, rgb);
    }

    void finish() { m_histogram.addUp(); }

private:
    // Pixels from which on a table of sample colours pays.
    static constexpr int64_t sLargeFrame = 1 << 18;

    bool hasText(int row) const { return row < m_options.textHeight; }
    bool isCounted(int row) const { return row > sRowsNotCounted && row < m_options.height - sRowsNotCounted; }

    /// Colours the pixels right of the grey ones; returns whether with the marks for overflow.
    bool colour(int row, const uint16_t* pixels, uint32_t* rgb)
    {
        const int count = m_options.width - m_options.left;
        PixelHistogram* histogram = isCounted(row) ? &m_histogram : nullptr;
        // The text's corner has no marks, and corrected pixels are more than samples.
        if (m_samples && !hasText(row) && m_samples->colourPixels(pixels, rgb, count, histogram))
            return true;
        colourPixels(pixels, rgb, count, m_options.curve, histogram);
        return false;
    }

    void mark(int row, const uint16_t* pixels, uint32_t* rgb) const
    {
        const int firstMarked = hasText(row) ? std::max(m_options.left, m_options.textWidth) : m_options.left;
        if (firstMarked < m_options.width)
            m_kernels.markOverflow(pixels + firstMarked, rgb + firstMarked, m_options.width - firstMarked,
                                   m_options.inverted);
    }

    SOptions m_options;
    const SPixelKernels& m_kernels;
    std::optional<SampleColours> m_samples;
    PixelHistogram m_histogram;
};

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
    const int endRow = m_height - std::clamp(rawRowsAtBottom, 0, m_height);
    const int left = std::clamp(rawColumnsAtLeft, 0, m_width);
    PreviewRows rows({.width = m_width,
                      .height = m_height,
                      .curve = transferCurve,
                      .zones = zones && zones->isEnabled() ? zones : nullptr,
                      .showOverflow = showOverflow != 0,
                      .inverted = invertedMode != 0,
                      .left = left,
                      .textWidth = skipTextArea ? m_textWidth : 0,
                      .textHeight = skipTextArea ? m_textHeight : 0},
                     histoBins);
    for (int row = 0; row < m_height; ++row) {
        const ptrdiff_t at = ptrdiff_t{row} * m_width;
        if (row < endRow)
            rows.paint(row, m_frame + at, rgb + at);
        else
            pixelKernels().grey(m_frame + at, rgb + at, m_width);
    }

    rows.finish();
    fillProfile(profile, profileX, profileY, endRow, left, profileHighByte);
}

} // namespace libobribase
