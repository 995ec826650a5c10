#pragma once

#include <cstdint>

namespace libobrifile {

/// A region of interest: left column, top row, width and height in pixels.
struct ZoneDefinition {
    uint16_t x;
    uint16_t y;
    uint16_t w;
    uint16_t h;
};

} // namespace libobrifile
