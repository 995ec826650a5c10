#pragma once
#include <string>
#include <vector>

namespace obrisim {

/// A picture, row by row from the top.
struct SPicture {
    int width = 0, height = 0;
    std::vector<float> pixels;
};

/// Reads the primary image of a FITS file: 16-bit integers in two dimensions, with BZERO and BSCALE.
/// Negative values become 0. Throws std::runtime_error, naming the path, for anything else.
SPicture readFitsPicture(const std::string& path);

} // namespace obrisim
