#pragma once

#include "Rect.h"

namespace libobribase {

/// One handle of the histogram: a value that the user drags along an edge of the plot. Main thread.
class HistogramDragger {
public:
    Rect rect{0, 0, 100, 100}; ///< the plot area
    int dragging = 0;
    int leftAligned = 0; ///< the handle's box lies left of its position
    int handleWidth = 10;
    int handleHeight = 10;
    int minValue = 0;
    int maxValue = 65535;
    int horizontal = 0; ///< the value runs along x
    int vertical = 0;   ///< the value runs along y
    int value = 0;      ///< 0..65535

    HistogramDragger(int isHorizontal, int isVertical, int isLeftAligned, int initialValue);
    virtual ~HistogramDragger() = default;
    HistogramDragger(const HistogramDragger&) = default;
    HistogramDragger& operator=(const HistogramDragger&) = default;

    int GetValue() const { return value; }
    /// Clamps into minValue..maxValue.
    void SetValue(int newValue);

    /// The handle's position in the drawing area.
    int GetX() const;
    int GetY() const;
    /// The handle's box, 10 x 10 pixels.
    Rect GetRect() const;
    bool HitTest(int x, int y) const;

    /// Moves the handle to a point, while it is dragged or when force is set. 1 when it took a value, else 0.
    int CheckDrag(int x, int y, int force);
};

} // namespace libobribase
