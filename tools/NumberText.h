#pragma once

#include <charconv>
#include <string>
#include <string_view>

namespace obriadv {

/// Parses a whole text as a decimal number, whatever the locale. False, value untouched, when it is none.
template <class Number>
bool parseUnsigned(std::string_view text, Number& value)
{
    Number parsed{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (error != std::errc() || end != text.data() + text.size())
        return false;
    value = parsed;
    return true;
}

} // namespace obriadv
