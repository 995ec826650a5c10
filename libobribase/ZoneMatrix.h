#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace libobribase {

/// A grid of zones of 64 x 64 pixels over an image, each enabled or not, and a switch for the whole grid.
/// Used by one thread at a time.
class ZoneMatrix {
public:
    static constexpr int sZoneSize = 64; ///< pixels, both ways

    /// A grid that covers width x height pixels (the last column and row may hang over), everything disabled.
    /// Sizes below 1 give an empty grid.
    ZoneMatrix(int width, int height);

    /// Whether zones are to be shown at all.
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled) { m_enabled = enabled; }

    /// One zone, in zone coordinates; outside the grid is not enabled.
    bool isZoneEnabled(int x, int y) const { return contains(x, y) && m_zones[index(x, y)] != 0; }
    /// Outside the grid nothing happens.
    void setZoneEnabled(int x, int y, bool enabled);

private:
    bool contains(int x, int y) const { return x >= 0 && x < m_columns && y >= 0 && y < m_rows; }
    size_t index(int x, int y) const { return static_cast<size_t>(y) * static_cast<size_t>(m_columns) + x; }

    int m_columns;
    int m_rows;
    bool m_enabled = false;
    std::vector<uint8_t> m_zones;
};

} // namespace libobribase
