#pragma once

#include <cstdint>

namespace libobribase {

/// A rectangle of pixels; empty by default.
class Rect {
public:
    int32_t x = 0;
    int32_t y = 0;
    int32_t w = 0;
    int32_t h = 0;

    Rect() = default;
    /// Two corners, not a corner and a size.
    Rect(int x1, int y1, int x2, int y2) { SetCorners(x1, y1, x2, y2); }
    virtual ~Rect() = default;
    Rect(const Rect&) = default;
    Rect& operator=(const Rect&) = default;

    void SetCorners(int x1, int y1, int x2, int y2)
    {
        x = x1;
        y = y1;
        w = x2 - x1;
        h = y2 - y1;
    }
    int X2() const { return x + w; }
    int Y2() const { return y + h; }
    /// The left and top edges belong to the rectangle, the right and bottom ones do not.
    bool ContainsPoint(int px, int py) const { return px >= x && px < X2() && py >= y && py < Y2(); }
};

} // namespace libobribase
