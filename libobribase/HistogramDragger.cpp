#include "HistogramDragger.h"

#include <algorithm>

namespace libobribase {

namespace {

constexpr int sFullScale = 65535;

// The value at a distance of length pixels; 64 bits, for a pointer may be dragged far outside the window.
int64_t valueAt(int64_t distance, int length)
{
    return distance * sFullScale / length;
}

} // namespace

HistogramDragger::HistogramDragger(int isHorizontal, int isVertical, int isLeftAligned, int initialValue)
    : leftAligned(isLeftAligned), horizontal(isHorizontal), vertical(isVertical), value(initialValue)
{
}

void HistogramDragger::SetValue(int newValue)
{
    value = std::clamp(newValue, minValue, maxValue);
}

int HistogramDragger::GetX() const
{
    return vertical ? rect.x : static_cast<int>(int64_t{value} * rect.w / sFullScale) + rect.x;
}

int HistogramDragger::GetY() const
{
    return horizontal ? rect.Y2() : rect.Y2() - static_cast<int>(int64_t{value} * rect.h / sFullScale);
}

Rect HistogramDragger::GetRect() const
{
    const int left = GetX() - (leftAligned || vertical ? handleWidth : 0);
    const int top = GetY();
    return {left, top, left + handleWidth, top + handleHeight};
}

bool HistogramDragger::HitTest(int x, int y) const
{
    return GetRect().ContainsPoint(x, y);
}

int HistogramDragger::CheckDrag(int x, int y, int force)
{
    if (!dragging && !force)
        return 0;
    const int length = horizontal ? rect.w : vertical ? rect.h : 0;
    if (length <= 0) // neither kind, or a plot without room
        return 0;
    const int64_t wanted =
        horizontal ? valueAt(int64_t{x} - rect.x, length) : valueAt(int64_t{rect.h} + rect.y - y, length);
    SetValue(static_cast<int>(std::clamp<int64_t>(wanted, minValue, maxValue)));
    return 1;
}

} // namespace libobribase
