#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace obriadv {

/// Parses a text that is a whole number in decimal and nothing else. False, value untouched, when it is none or does
/// not fit; a minus is taken for signed types alone.
template <class Number>
bool parseInteger(std::string_view text, Number& value)
{
    Number parsed{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc() || end != text.data() + text.size())
        return false;
    value = parsed;
    return true;
}

} // namespace obriadv
