#include "ZoneMatrix.h"

namespace libobribase {

namespace {

int zonesAcross(int pixels)
{
    return pixels < 1 ? 0 : (pixels - 1) / ZoneMatrix::sZoneSize + 1;
}

} // namespace

ZoneMatrix::ZoneMatrix(int width, int height)
    : m_columns(zonesAcross(width)), m_rows(zonesAcross(height)),
      m_zones(static_cast<size_t>(m_columns) * static_cast<size_t>(m_rows))
{
}

void ZoneMatrix::setZoneEnabled(int x, int y, bool enabled)
{
    if (contains(x, y))
        m_zones[index(x, y)] = enabled;
}

} // namespace libobribase
