#pragma once
#include <cstdint>
#include <string_view>

namespace obrisim {

/// Rows of a line of text at scale 1; characters are six samples apart.
constexpr int sTextHeight = 7, sTextPitch = 6;

/// Draws one row of a line of text, white on black, into the samples of a frame's row.
/// @param text   digits, ":", "." and "-"; anything else is a blank
/// @param row    0 to sTextHeight * scale - 1
/// What would stand beyond width is left out.
void drawTextRow(std::string_view text, int row, int scale, uint16_t* samples, int width);

} // namespace obrisim
