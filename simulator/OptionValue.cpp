#include "OptionValue.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <stdexcept>

namespace obrisim {

struct SErrorName {
    const char* name;
    int error;
};
constexpr SErrorName sErrors[] = {
    {"EIO", EIO},       {"EBUSY", EBUSY},   {"EINVAL", EINVAL}, {"ENODEV", ENODEV},       {"EAGAIN", EAGAIN},
    {"EPIPE", EPIPE},   {"EILSEQ", EILSEQ}, {"ERANGE", ERANGE}, {"EREMOTE", EREMOTE},     {"ENOMEM", ENOMEM},
    {"EACCES", EACCES}, {"ENOENT", ENOENT}, {"ENOSPC", ENOSPC}, {"ETIMEDOUT", ETIMEDOUT}, {"EPROTO", EPROTO},
};

OptionValue::OptionValue(std::string option, const std::string& text) : m_option(std::move(option)), m_text(text)
{
    for (size_t from = 0; from <= text.size();) {
        const size_t comma = std::min(text.find(',', from), text.size());
        m_parts.push_back(text.substr(from, comma - from));
        from = comma + 1;
    }
}

void OptionValue::refuse() const
{
    throw std::invalid_argument("wrong value for " + m_option + ": \"" + m_text + "\"");
}

void OptionValue::atMost(size_t parts) const
{
    if (m_parts.size() > parts)
        refuse();
}

const std::string& OptionValue::text() const
{
    if (m_text.empty())
        refuse();
    return m_text;
}

int64_t OptionValue::nanoseconds(size_t part) const
{
    return std::llround(seconds(part) * 1e9);
}

int OptionValue::error(size_t part) const
{
    const auto found = std::ranges::find(sErrors, m_parts.at(part), &SErrorName::name);
    return found != std::end(sErrors) ? found->error : number<int>(part, 1, 133);
}

} // namespace obrisim
