#include "JsonValue.h"

#include <cctype>
#include <cstdint>
#include <optional>

namespace libobribase {

namespace {

constexpr int sMaxDepth = 64;

void appendUtf8(std::string& out, uint32_t code)
{
    const auto add = [&out](uint32_t byte) { out += static_cast<char>(byte); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0 | code >> 6);
        add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    }
}

/// Walks a JSON text from left to right. Each step returns false where the text breaks the grammar.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    size_t position() const { return m_at; }

    char peek()
    {
        while (m_at < m_text.size() && std::string_view(" \t\r\n").find(m_text[m_at]) != std::string_view::npos)
            ++m_at;
        return m_at < m_text.size() ? m_text[m_at] : '\0';
    }

    bool take(char expected)
    {
        if (peek() != expected || m_at >= m_text.size())
            return false;
        ++m_at;
        return true;
    }

    bool string(std::string* out)
    {
        if (!take('"'))
            return false;
        while (m_at < m_text.size()) {
            const char c = m_text[m_at++];
            if (c == '"')
                return true;
            if (static_cast<unsigned char>(c) < 0x20 || (c == '\\' && !escape(out)))
                return false;
            if (c != '\\')
                *out += c;
        }
        return false;
    }

    bool skipValue(int depth)
    {
        std::string ignored;
        switch (peek()) {
        case '"':
            return string(&ignored);
        case '{':
            return skipMembers('}', depth, true);
        case '[':
            return skipMembers(']', depth, false);
        case 't':
            return literal("true");
        case 'f':
            return literal("false");
        case 'n':
            return literal("null");
        default:
            return number();
        }
    }

private:
    bool skipMembers(char end, int depth, bool named)
    {
        if (depth >= sMaxDepth)
            return false;
        ++m_at;
        if (take(end))
            return true;
        do {
            std::string ignored;
            if ((named && (peek() != '"' || !string(&ignored) || !take(':'))) || !skipValue(depth + 1))
                return false;
        } while (take(','));
        return take(end);
    }

    bool literal(std::string_view word)
    {
        if (m_text.substr(m_at, word.size()) != word)
            return false;
        m_at += word.size();
        return true;
    }

    bool digits()
    {
        const size_t start = m_at;
        while (m_at < m_text.size() && std::isdigit(static_cast<unsigned char>(m_text[m_at])))
            ++m_at;
        return m_at > start;
    }

    bool accept(std::string_view any)
    {
        if (m_at >= m_text.size() || any.find(m_text[m_at]) == std::string_view::npos)
            return false;
        ++m_at;
        return true;
    }

    bool number()
    {
        accept("-");
        if (!accept("0") && !digits()) // no further digit may follow a leading zero
            return false;
        if (accept(".") && !digits())
            return false;
        if (!accept("eE"))
            return true;
        accept("+-");
        return digits();
    }

    bool escape(std::string* out)
    {
        static constexpr std::string_view sNames = "\"\\/bfnrt", sMeanings = "\"\\/\b\f\n\r\t";
        if (m_at >= m_text.size())
            return false;
        const char name = m_text[m_at++];
        if (name == 'u')
            return unicode(out);
        const size_t which = sNames.find(name);
        if (which == std::string_view::npos)
            return false;
        *out += sMeanings[which];
        return true;
    }

    std::optional<uint32_t> fourHexDigits()
    {
        uint32_t code = 0;
        for (int i = 0; i < 4; ++i, ++m_at) {
            if (m_at >= m_text.size() || !std::isxdigit(static_cast<unsigned char>(m_text[m_at])))
                return std::nullopt;
            const char c = m_text[m_at];
            code = code * 16 + static_cast<uint32_t>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
        }
        return code;
    }

    bool unicode(std::string* out)
    {
        const auto code = fourHexDigits();
        if (!code || (*code >= 0xDC00 && *code <= 0xDFFF))
            return false;
        if (*code < 0xD800 || *code > 0xDBFF) {
            appendUtf8(*out, *code);
            return true;
        }
        if (!literal("\\u")) // characters beyond 16 bits come as two halves
            return false;
        const auto low = fourHexDigits();
        if (!low || *low < 0xDC00 || *low > 0xDFFF)
            return false;
        appendUtf8(*out, 0x10000 + ((*code - 0xD800) << 10) + (*low - 0xDC00));
        return true;
    }

    std::string_view m_text;
    size_t m_at = 0;
};

} // namespace

bool jsonValue(std::string_view json, std::string_view key, std::string* value)
{
    Scanner scanner(json);
    if (!scanner.take('{'))
        return false;
    do {
        std::string name;
        if (!scanner.string(&name) || !scanner.take(':'))
            return false;
        const bool isString = scanner.peek() == '"';
        const size_t start = scanner.position();
        std::string text;
        if (!(isString ? scanner.string(&text) : scanner.skipValue(1)))
            return false;
        const size_t end = scanner.position();
        if (const char next = scanner.peek(); next != ',' && next != '}')
            return false;
        if (name != key)
            continue;
        *value = isString ? text : std::string(json.substr(start, end - start));
        return true;
    } while (scanner.take(','));
    return false;
}

} // namespace libobribase
