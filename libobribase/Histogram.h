#pragma once

#include "HistogramDragger.h"
#include "InheritingMutex.h"
#include "ThreadSafeDoubleBuffer.h"
#include "TripleBuffer.h"

#include <array>
#include <cstdint>
#include <string>

namespace libobribase {

/// One histogram's counts, to be drawn from.
struct SHistogramBins {
    static constexpr int sCount = 1024; ///< bins of 64 pixel values each

    uint64_t maxValue = 0; ///< highest of bins 1..1022
    uint64_t total = 0;    ///< sum of bins 1..1022
    std::array<uint64_t, sCount> bins{};
};

/// The histogram of the latest frame and the display stretch that three draggable handles set.
///
/// The streaming thread fills the double buffer, calls UpdateHistoBins and takes the stretch table; everything about
/// handles belongs to the main thread. Bins lie under a lock of their own.
class Histogram {
public:
    Histogram();
    virtual ~Histogram() = default;
    Histogram(const Histogram&) = delete;
    Histogram& operator=(const Histogram&) = delete;

    /// Where the frame pipeline puts 1024 unsigned 64-bit counts. Streaming thread.
    ThreadSafeDoubleBuffer* GetHistoBuffer() { return &histoBuffer; }
    /// Forgets all counts, also those waiting in the double buffer. Any thread.
    void ClearHistoBuffer();
    /// Takes new counts out of the double buffer; 0 when there were none. Any thread.
    int UpdateHistoBins();

    /// Any thread; i is 0..1023.
    uint64_t GetHistoBin(int i) const;
    uint64_t GetHistoBinsMaxValue() const;
    /// A consistent copy of all counts, for drawing. Any thread.
    SHistogramBins CopyHistoBins() const;

    /// The stretch's output 0..255 at pixel value 1024 * i - 1 (0 for i = 0), i in 0..64. Main thread.
    int GetHistoTransferCurve(int i) const { return transferCurve[static_cast<size_t>(i)]; }
    /// The newest whole stretch table, 65536 words 0x00RRGGBB; stays as it is until the next call. Streaming thread.
    const uint32_t* GetTransform() { return transform.newest().data(); }

    // Main thread from here on.

    /// Size of the drawing area in pixels.
    void SetContainerSize(int width, int height);
    /// Bounds that keep the given percentage of pixels inside.
    void SetHistoBounds(double percent);
    /// Mirrors the bounds; the argument is not used, on purpose: calling it twice restores them.
    void SetInvertedMode(int inverted);
    /// Button 0 is the primary one. 1 when a handle was hit and its drag began, else 0.
    int OnMouseClick(int x, int y, int button);
    /// 1 when a handle moved.
    int OnContinueDrag(int x, int y);
    void OnReleaseDrag();
    /// "0 - 65535": the low and the high bound.
    std::string GetTitleString() const;

    const HistogramDragger& GetLowDragger() const { return lowDragger; }
    const HistogramDragger& GetHighDragger() const { return highDragger; }
    const HistogramDragger& GetMidDragger() const { return midDragger; }
    /// The plot's rectangle within the drawing area.
    const Rect& GetPlotRect() const { return lowDragger.rect; }

private:
    using Transform = std::array<uint32_t, 65536>;

    void UpdateTransform();
    void setBounds(int low, int high);
    void keepBoundsInOrder(const HistogramDragger& moving);
    void beginDrag(HistogramDragger& dragger);
    void moveBoundTo(int x, int y, int button);

    HistogramDragger lowDragger{1, 0, 1, 0};
    HistogramDragger highDragger{1, 0, 0, 65535};
    HistogramDragger midDragger{0, 1, 0, 32767};
    ThreadSafeDoubleBuffer histoBuffer{SHistogramBins::sCount * sizeof(uint64_t)};
    int plotWidth = 0;
    int plotHeight = 0;
    TripleBuffer<Transform> transform; ///< a frame sees one whole table while a handle is dragged
    SHistogramBins m_counts;           ///< guarded by m_countsLock
    std::array<int, 64 + 1> transferCurve{};
    mutable InheritingMutex m_countsLock;
};

} // namespace libobribase
