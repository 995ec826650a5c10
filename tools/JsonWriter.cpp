#include "JsonWriter.h"

#include "TextFormat.h"

#include <cmath>
#include <cstdio>

namespace obriadv {

void JsonWriter::prefix(std::string_view key)
{
    if (m_depth > 0)
        m_text += m_isFirst ? "\n" : ",\n";
    m_text.append(static_cast<size_t>(m_depth) * 2, ' ');
    m_isFirst = false;
    if (key.empty())
        return;
    quote(key);
    m_text += ": ";
}

void JsonWriter::begin(std::string_view key, char bracket)
{
    prefix(key);
    m_text += bracket;
    ++m_depth;
    m_isFirst = true;
}

void JsonWriter::end(char bracket)
{
    --m_depth;
    if (!m_isFirst) {
        m_text += '\n';
        m_text.append(static_cast<size_t>(m_depth) * 2, ' ');
    }
    m_text += bracket;
    m_isFirst = false;
    if (m_depth == 0)
        m_text += '\n';
}

void JsonWriter::text(std::string_view key, std::string_view value)
{
    prefix(key);
    quote(value);
}

void JsonWriter::integer(std::string_view key, int64_t value)
{
    prefix(key);
    m_text += std::to_string(value);
}

void JsonWriter::number(std::string_view key, double value, int decimals)
{
    prefix(key);
    // JSON knows no infinities; damaged status entries may hold them.
    m_text += std::isfinite(value) ? libobribase::formatFixed(value, decimals) : "null";
}

void JsonWriter::boolean(std::string_view key, bool value)
{
    prefix(key);
    m_text += value ? "true" : "false";
}

void JsonWriter::quote(std::string_view value)
{
    m_text += '"';
    while (!value.empty()) {
        const size_t length = utf8Length(value);
        const auto first = static_cast<unsigned char>(value[0]);
        if (length == 0) {
            m_text += "\\ufffd";
        } else if (first < 0x20) {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", first);
            m_text += escape;
        } else {
            if (first == '"' || first == '\\')
                m_text += '\\';
            m_text += value.substr(0, length);
        }
        value.remove_prefix(length == 0 ? 1 : length);
    }
    m_text += '"';
}

size_t utf8Length(std::string_view text)
{
    if (text.empty())
        return 0;
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    // Too long a form, a surrogate, or beyond the last code point.
    const unsigned second = byte(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
    return isOverlong || isNoCharacter ? 0 : length;
}

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const size_t length = utf8Length(text);
        const auto first = static_cast<unsigned char>(text[0]);
        // C1 control characters, U+0080 to U+009F, command some terminals too.
        const bool isC1 = length == 2 && first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0;
        if (length == 0 || first < 0x20 || first == 0x7F || isC1)
            shown += '?';
        else
            shown += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return shown;
}

} // namespace obriadv
