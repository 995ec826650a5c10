#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace obriadv {

/// Writes a JSON text, indented, with commas and quotes where they belong. Numbers have a decimal point in every
/// locale; bytes that are no UTF-8 become U+FFFD.
class JsonWriter {
public:
    /// Every value inside an object is given with its key, inside an array with an empty one.
    void beginObject(std::string_view key = {}) { begin(key, '{'); }
    void endObject() { end('}'); }
    void beginArray(std::string_view key) { begin(key, '['); }
    void endArray() { end(']'); }

    void text(std::string_view key, std::string_view value);
    void integer(std::string_view key, int64_t value);
    void number(std::string_view key, double value, int decimals);
    void boolean(std::string_view key, bool value);

    const std::string& result() const { return m_text; }

private:
    void begin(std::string_view key, char bracket);
    void end(char bracket);
    void prefix(std::string_view key);
    void quote(std::string_view value);

    std::string m_text;
    int m_depth = 0;
    bool m_isFirst = true;
};

} // namespace obriadv
