#pragma once
#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

namespace obrisim {

/// The value of one option, taken apart at its commas. What does not fit is refused with
/// std::invalid_argument and one clear line.
class OptionValue {
public:
    OptionValue(std::string option, const std::string& text);

    bool has(size_t part) const { return part < m_parts.size(); }
    void atMost(size_t parts) const;

    /// The whole text, which must not be empty.
    const std::string& text() const;
    /// One part as a number, written with a decimal point if it has one, within its bounds.
    template <class T>
    T number(size_t part, T lowest, T highest) const;
    /// 0 for a part that is not there.
    int64_t count(size_t part) const { return has(part) ? number<int64_t>(part, 0, 1'000'000'000'000) : 0; }
    double seconds(size_t part) const { return number<double>(part, 0.0, 9e9); }
    int64_t nanoseconds(size_t part) const;
    /// The name or the number of a system error.
    int error(size_t part) const;

    [[noreturn]] void refuse() const;

private:
    std::string m_option, m_text;
    std::vector<std::string> m_parts;
};

template <class T>
T OptionValue::number(size_t part, T lowest, T highest) const
{
    const std::string& text = m_parts.at(part);
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= lowest && value <= highest))
        refuse();
    return value;
}

} // namespace obrisim
