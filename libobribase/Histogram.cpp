#include "Histogram.h"

#include <algorithm>
#include <cstring>

namespace libobribase {

namespace {

constexpr int sFullScale = 65535;
constexpr int sMidValue = 32767;
constexpr int sUnscaledHigh = 1024; // the high bound when no bin qualifies: a bin's number, on purpose
constexpr int sLastBin = SHistogramBins::sCount - 1;
constexpr int sPlotLeft = 12, sPlotTop = 2, sPlotMargin = 12; // pixels of the drawing area around the plot

constexpr uint32_t grey(uint32_t level)
{
    return level * 0x010101;
}

constexpr int binStart(int bin)
{
    return bin * sFullScale / sLastBin;
}

// Pixels beyond each bound; 0 for a percentage that is none.
uint64_t tailCount(uint64_t total, double percent)
{
    const double outside = percent >= 0 && percent <= 100 ? 100 - percent : 0;
    return static_cast<uint64_t>(static_cast<double>(total) * outside / 200);
}

} // namespace

Histogram::Histogram()
{
    UpdateTransform();
}

void Histogram::ClearHistoBuffer()
{
    const std::lock_guard guard(m_countsLock);
    histoBuffer.AtomicRead();
    m_counts = {};
}

int Histogram::UpdateHistoBins()
{
    const std::lock_guard guard(m_countsLock);
    if (!histoBuffer.AtomicRead())
        return 0;
    auto& bins = m_counts.bins;
    memcpy(bins.data(), histoBuffer.GetReadBuffer(), sizeof bins);
    m_counts.maxValue = 0;
    m_counts.total = 0;
    for (size_t i = 1; i < bins.size() - 1; ++i) { // black and saturated pixels would dwarf the rest
        m_counts.maxValue = std::max(m_counts.maxValue, bins[i]);
        m_counts.total += bins[i];
    }
    return 1;
}

uint64_t Histogram::GetHistoBin(int i) const
{
    const std::lock_guard guard(m_countsLock);
    return m_counts.bins[static_cast<size_t>(i)];
}

uint64_t Histogram::GetHistoBinsMaxValue() const
{
    const std::lock_guard guard(m_countsLock);
    return m_counts.maxValue;
}

SHistogramBins Histogram::CopyHistoBins() const
{
    const std::lock_guard guard(m_countsLock);
    return m_counts;
}

void Histogram::UpdateTransform()
{
    const int lo = lowDragger.GetValue(), hi = highDragger.GetValue();
    const double g = 0.25 + static_cast<double>(midDragger.GetValue()) / midDragger.maxValue * 0.5;
    const double linear = 4 * g - 1, square = 2 - 4 * g;

    Transform& table = transform.writeSlot();
    std::fill(table.begin(), table.begin() + lo + 1, grey(0));
    for (int v = lo + 1; v < hi; ++v) {
        const double t = static_cast<double>(v - lo) / (hi - lo);
        const double y = std::clamp(linear * t + square * (t * t), 0.0, 1.0);
        table[static_cast<size_t>(v)] = grey(static_cast<uint32_t>(static_cast<int>(255 * y)));
    }
    std::fill(table.begin() + std::max(lo + 1, hi), table.end(), grey(255));

    transferCurve[0] = 0;
    for (size_t i = 1; i < transferCurve.size(); ++i)
        transferCurve[i] = static_cast<int>(table[i * 1024 - 1] & 0xFF);
    transform.publish();
}

void Histogram::SetContainerSize(int width, int height)
{
    const Rect plot(sPlotLeft, sPlotTop, width - sPlotMargin, height - sPlotMargin);
    plotWidth = plot.w;
    plotHeight = plot.h;
    for (HistogramDragger* dragger : {&lowDragger, &highDragger, &midDragger})
        dragger->rect = plot;
}

void Histogram::SetHistoBounds(double percent)
{
    const SHistogramBins counts = CopyHistoBins();
    const uint64_t tail = tailCount(counts.total, percent), upper = counts.total - tail;
    int lo = 0, hi = sUnscaledHigh;
    uint64_t sum = 0;
    for (int i = 0; i <= sLastBin; ++i) {
        sum += counts.bins[static_cast<size_t>(i)]; // with the outermost bins, though the total lacks them
        if (sum <= tail)
            lo = binStart(i);
        if (sum <= upper)
            hi = binStart(i);
    }
    setBounds(lo, hi);
    midDragger.SetValue(sMidValue);
    UpdateTransform();
}

void Histogram::SetInvertedMode(int)
{
    const int low = lowDragger.GetValue(), high = highDragger.GetValue();
    const int maximum = highDragger.maxValue;
    setBounds(maximum - high, maximum - low);
    UpdateTransform();
}

void Histogram::setBounds(int low, int high)
{
    // Earlier drags left limits behind that are for dragging only.
    lowDragger.maxValue = sFullScale;
    highDragger.minValue = 0;
    lowDragger.SetValue(low);
    highDragger.SetValue(high);
}

int Histogram::OnMouseClick(int x, int y, int button)
{
    if (button == 0) {
        for (HistogramDragger* dragger : {&midDragger, &lowDragger, &highDragger}) {
            if (!dragger->HitTest(x, y))
                continue;
            beginDrag(*dragger);
            return 1;
        }
    }
    if (Rect(sPlotLeft, sPlotTop, plotWidth, plotHeight - 6).ContainsPoint(x, y))
        moveBoundTo(x, y, button);
    return 0;
}

void Histogram::keepBoundsInOrder(const HistogramDragger& moving)
{
    if (&moving == &lowDragger)
        lowDragger.maxValue = highDragger.GetValue();
    if (&moving == &highDragger)
        highDragger.minValue = lowDragger.GetValue();
}

void Histogram::beginDrag(HistogramDragger& dragger)
{
    dragger.dragging = 1;
    keepBoundsInOrder(dragger);
    UpdateTransform();
}

void Histogram::moveBoundTo(int x, int y, int button)
{
    HistogramDragger& bound = button == 0 ? lowDragger : highDragger;
    keepBoundsInOrder(bound);
    bound.CheckDrag(x, y, 1);
    UpdateTransform();
}

int Histogram::OnContinueDrag(int x, int y)
{
    int moved = 0;
    for (HistogramDragger* dragger : {&lowDragger, &highDragger, &midDragger}) {
        keepBoundsInOrder(*dragger); // the other bound may have been moved from the keyboard
        moved |= dragger->CheckDrag(x, y, 0);
    }
    if (moved)
        UpdateTransform();
    return moved;
}

void Histogram::OnReleaseDrag()
{
    for (HistogramDragger* dragger : {&lowDragger, &highDragger, &midDragger})
        dragger->dragging = 0;
    UpdateTransform();
}

std::string Histogram::GetTitleString() const
{
    return std::to_string(lowDragger.GetValue()) + " - " + std::to_string(highDragger.GetValue());
}

} // namespace libobribase
