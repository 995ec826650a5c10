#include "JsonWriter.h"

#include "SafeText.h"

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

} // namespace obriadv
