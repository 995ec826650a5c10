#include "FrameProcessing.h"

#include "BinaryOverlay.h"
#include "CameraStatus.h"
#include "DateTime.h"
#include "Font.h"
#include "PixelKernels.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>

namespace libobribase {

namespace {

// The region whose mean is measured.
constexpr int sFirstMeanRow = 16, sRowsBelowMean = 18;
constexpr int sFirstMeanColumn = 104, sColumnsRightOfMean = 100;

// The left columns may hold the camera's own marks.
constexpr int sFirstLineNoiseColumn = 21;
constexpr uint32_t sFewestLinePixels = 10;

constexpr int sGlyphWidth = 8, sGlyphHeight = 16;

// Pixels corrected at a time where rows do not differ.
constexpr int sBlock = 4096;

constexpr int roundedUpTo8(int value)
{
    return (value + 7) / 8 * 8;
}

/// What the pixels of one row get added or subtracted for being offset from the frame's level.
SPixelCorrection lineCorrection(int32_t offset)
{
    SPixelCorrection correction{};
    if (offset >= 0)
        correction.lineSubtract = static_cast<uint16_t>(std::min(offset, 65535));
    else
        correction.lineAdd = static_cast<uint16_t>(-std::max(offset, -65535));
    return correction;
}

bool changesNothing(const SPixelCorrection& correction)
{
    return correction.lineAdd == 0 && correction.lineSubtract == 0 && correction.pedestal == 0 &&
           correction.flatScale == 0;
}

/// Corrects a run; where nothing but a dark of zeros would be subtracted, the pixels are not even touched.
void correctRun(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
                const SPixelCorrection& correction)
{
    const SPixelKernels& kernels = pixelKernels();
    if (!changesNothing(correction) || !kernels.isZero(dark, count))
        kernels.correct(pixels, dark, flat, count, correction);
}

} // namespace

FrameProcessing::FrameProcessing(int width, int height, int isCompressed, unsigned short* frame,
                                 unsigned short* darkFrame, unsigned short* flatFrame)
    : m_width(width), m_height(height), m_isCompressed(isCompressed), m_frame(frame), m_darkFrame(darkFrame),
      m_flatFrame(flatFrame)
{
    assert(width > 0 && width <= SPixelKernels::sMaxRun && height > 0 && height <= sMaxRows);
}

void FrameProcessing::DecodeFrame(const void* raw)
{
    const SPixelKernels& kernels = pixelKernels();
    const auto decode = m_isCompressed ? kernels.decodePacked : kernels.decodeUnpacked;
    const auto bytesBefore = [this](int column) { return m_isCompressed ? column / 8 * 12 : column * 2; };
    const int rowBytes = m_isCompressed ? roundedUpTo8(m_width) / 8 * 12 : m_width * 2;
    // The region ends with the group of 8 pixels that reaches its last column.
    const int bandEnd = std::max(roundedUpTo8(m_width - sColumnsRightOfMean), sFirstMeanColumn);
    const bool hasBand = bandEnd > sFirstMeanColumn;

    uint64_t sum = 0;
    const auto* bytes = static_cast<const uint8_t*>(raw);
    for (int row = 0; row < m_height; ++row, bytes += rowBytes) {
        uint16_t* pixels = m_frame + ptrdiff_t{row} * m_width;
        const auto decodePart = [&](int begin, int end) {
            return decode(bytes + bytesBefore(begin), pixels + begin, end - begin);
        };
        if (hasBand && row >= sFirstMeanRow && row < m_height - sRowsBelowMean) {
            decodePart(0, sFirstMeanColumn);
            sum += decodePart(sFirstMeanColumn, bandEnd);
            decodePart(bandEnd, m_width);
        } else {
            decodePart(0, m_width);
        }
    }
    const int64_t count = int64_t{bandEnd - sFirstMeanColumn} * (m_height - sRowsBelowMean - sFirstMeanRow);
    setMean(sum, count);
}

void FrameProcessing::setMean(uint64_t sum, int64_t count)
{
    m_meanValid = count > 0;
    m_mean = m_meanValid ? static_cast<uint32_t>(sum / static_cast<uint64_t>(count)) : 0;
    m_lowerBound = static_cast<uint16_t>(m_mean > 1024 ? m_mean - 1024 : 0);
    m_upperBound = static_cast<uint16_t>(std::min<uint32_t>(m_mean + 1024, 65535));
}

void FrameProcessing::UpdateBinaryOverlay(BinaryOverlay* overlay)
{
    const size_t before = static_cast<size_t>(m_height - 1) * static_cast<size_t>(m_width);
    overlay->ParseBinaryOverlay(m_frame + before, before, static_cast<size_t>(m_width));
}

void FrameProcessing::UpdateCameraStatus(BinaryOverlay* overlay, CameraStatus* status)
{
    status->UpdateFromBinaryOverlay(overlay);
    status->UpdateSystimeFrom(&overlay->m_fromTime);
}

int32_t FrameProcessing::rowAverage(int row) const
{
    if (m_width <= sFirstLineNoiseColumn)
        return static_cast<int32_t>(m_mean);
    const uint16_t* pixels = m_frame + ptrdiff_t{row} * m_width + sFirstLineNoiseColumn;
    const auto [sum, count] =
        pixelKernels().sumWithin(pixels, m_width - sFirstLineNoiseColumn, m_lowerBound, m_upperBound);
    // The sum is a 32-bit signed one, so that of a row of more than 32768 pixels may wrap.
    return count >= sFewestLinePixels ? static_cast<int32_t>(sum) / static_cast<int32_t>(count)
                                      : static_cast<int32_t>(m_mean);
}

void FrameProcessing::CalculateFrameLineAverages()
{
    if (!m_meanValid) {
        std::fill(std::begin(m_lineAverages), std::end(m_lineAverages), 0);
        return;
    }
    uint32_t sum = 0; // wraps like the signed sum that it stands for
    for (int row = 0; row < m_height; ++row) {
        m_lineAverages[row] = rowAverage(row);
        sum += static_cast<uint32_t>(m_lineAverages[row]);
    }
    const auto level = static_cast<uint32_t>(static_cast<int32_t>(sum) / m_height);
    for (int row = 0; row < m_height; ++row)
        m_lineAverages[row] = static_cast<int32_t>(static_cast<uint32_t>(m_lineAverages[row]) - level);
}

void FrameProcessing::ApplyNoiseDarkFlatProcessing(int lineNoiseOn, int keepRowsAtBottom, uint16_t darkPedestal,
                                                   uint16_t flatScale)
{
    const int64_t firstKept = lineNoiseOn ? int64_t{m_height} - 1 - keepRowsAtBottom : 0;
    const int noisyRows = static_cast<int>(std::clamp<int64_t>(firstKept, 0, m_height));
    const auto flatAt = [&](ptrdiff_t at) { return flatScale == 0 ? nullptr : m_flatFrame + at; };
    for (int row = 0; row < noisyRows; ++row) {
        SPixelCorrection correction = lineCorrection(m_lineAverages[row]);
        correction.pedestal = darkPedestal;
        correction.flatScale = flatScale;
        const ptrdiff_t at = ptrdiff_t{row} * m_width;
        correctRun(m_frame + at, m_darkFrame + at, flatAt(at), m_width, correction);
    }
    const SPixelCorrection correction{0, 0, darkPedestal, flatScale};
    const ptrdiff_t end = ptrdiff_t{m_height} * m_width;
    for (ptrdiff_t at = ptrdiff_t{noisyRows} * m_width; at < end; at += sBlock) {
        const int count = static_cast<int>(std::min<ptrdiff_t>(sBlock, end - at));
        correctRun(m_frame + at, m_darkFrame + at, flatAt(at), count, correction);
    }
}

void FrameProcessing::ApplyPcTimeOverlay(const DateTime* time)
{
    char text[64];
    snprintf(text, sizeof text, " PC %04d%02d%02d %02d:%02d:%02d.%03d ", time->year, time->month, time->day, time->hour,
             time->minute, time->second, time->milliseconds);
    m_textWidth = sGlyphWidth * static_cast<int>(strlen(text));
    m_textHeight = sGlyphHeight;
    const int columns = std::min(m_textWidth, m_width);
    for (int y = 0; y < std::min(sGlyphHeight, m_height); ++y) {
        uint16_t* pixels = m_frame + ptrdiff_t{y} * m_width;
        for (int x = 0; x < columns; ++x) {
            const unsigned bits = getFontSymbol8x16(static_cast<unsigned char>(text[x / sGlyphWidth]), y);
            pixels[x] = (bits << x % sGlyphWidth) & 0x80 ? 0xFFFF : 0;
        }
    }
}

} // namespace libobribase
