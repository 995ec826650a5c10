#pragma once

#include <cstdint>

namespace libobrifile {

/// Turns one row of pixels into FITS samples: signed 16-bit with BZERO 32768, high byte first.
///
/// @param row     width pixels
/// @param samples room for width samples, apart from row; in memory they are the file's bytes
/// Cannot fail. Any thread.
void encodeFitsRow(const uint16_t* row, uint16_t* samples, int width);

} // namespace libobrifile
