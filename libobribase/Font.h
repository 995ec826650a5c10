#pragma once

namespace libobribase {

/// One pixel row of a character of the 8 x 16 face, the most significant bit leftmost.
///
/// @param code  32..127 as in ASCII (127 is a small house), 128..155 block and bar symbols; any other code gives "?"
/// @param row   0..15 from the top
///
/// Any thread.
unsigned char getFontSymbol8x16(unsigned char code, int row);

} // namespace libobribase
