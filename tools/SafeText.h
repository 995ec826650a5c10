#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Texts from recordings and file names, which may hold any bytes. Any thread.
namespace obriadv {

/// Length of the UTF-8 sequence that text begins with, 0 when it begins with none.
size_t utf8Length(std::string_view text);

/// The text with control characters and bytes that are no UTF-8 replaced by "?", safe to show on a terminal.
std::string printable(std::string_view text);

} // namespace obriadv
