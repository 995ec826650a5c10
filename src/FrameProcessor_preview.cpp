#include "FrameProcessing.h"
#include "FrameProcessor_frame.h"

#include <algorithm>

using namespace libobribase;

namespace {

constexpr uint32_t sCrossHairColour = 0xFF0000;
constexpr int sCrossHairMargin = 16;                    // pixels left free at the image's edges
constexpr int sCrossHairGapX = 48, sCrossHairGapY = 32; // half of what is left free around the centre
constexpr int sCursorX = 100, sCursorY = 100;

} // namespace

void FrameProcessor::buildPreview(FrameProcessing& processing, SFrame& frame)
{
    frame.overlayText = m_binaryOverlay->ToString();

    const int overlayRows = m_camStatus->m_modeSelect == 0 ? 1 : m_width == 176 && m_height == 128 ? 8 : 16;
    const int nofBottomRowsToExcludeFromHistoProcessing = std::min(overlayRows, m_height);
    // The flag of the exposure-start overlay is read from the 1PPS flag, on purpose.
    const int isCamOverlay1pps = m_camStatus->m_flagA, isCamOverlayIsr = m_camStatus->m_flagA;
    const int overlayColumns = isCamOverlay1pps == 0 && isCamOverlayIsr == 0 ? 0 : 8;
    const int nofLeftColsToExcludeFromHistoProcessing = std::min(overlayColumns, m_width);

    ThreadSafeDoubleBuffer* bins = m_histogram->GetHistoBuffer();
    uint16_t cursorPeek[sProfileEntries];
    processing.CreatePreview(m_binaryOverlay, nullptr, m_previewFrame,
                             reinterpret_cast<uint64_t*>(bins->GetWriteBuffer()), m_histogram->GetTransform(),
                             cursorPeek, sCursorX, sCursorY, nofBottomRowsToExcludeFromHistoProcessing,
                             nofLeftColsToExcludeFromHistoProcessing, 0, frame.isInverted, frame.m_pcTimeOverlayEnabled,
                             loadShared(m_showPixelOverflow));
    bins->CommitWrite();
}

void FrameProcessor::drawCrossHair()
{
    const int x = m_width / 2, y = m_height / 2;
    fillPreview(x - 1, sCrossHairMargin, x + 2, y - sCrossHairGapY);
    fillPreview(x - 1, y + sCrossHairGapY, x + 2, m_height - sCrossHairMargin);
    fillPreview(sCrossHairMargin, y - 1, x - sCrossHairGapX, y + 2);
    fillPreview(x + sCrossHairGapX, y - 1, m_width - sCrossHairMargin, y + 2);
}

void FrameProcessor::fillPreview(int left, int top, int right, int bottom)
{
    left = std::max(left, 0);
    right = std::min(right, m_width);
    for (int y = std::max(top, 0); y < std::min(bottom, m_height) && left < right; ++y)
        std::fill_n(m_previewFrame + static_cast<size_t>(y) * static_cast<size_t>(m_width) + left, right - left,
                    sCrossHairColour);
}

void FrameProcessor::handOverPreview(const SFrame& frame)
{
    m_device.render(m_previewFrame, frame.width);
    if (!m_histogram->UpdateHistoBins())
        return;
    storeShared(m_updateHistogram, 1);
    m_device.histogramChanged();
}
