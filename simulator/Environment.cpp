#include "Environment.h"

#include "Clock.h"

#include <algorithm>
#include <cstdlib>

namespace obrisim {

constexpr char sSeparator = '\x1f'; // ASCII's own "unit separator"

std::string joinArguments(const std::vector<std::string>& arguments)
{
    std::string text;
    for (const std::string& argument : arguments)
        text += argument + sSeparator;
    return text;
}

std::vector<std::string> splitArguments(const std::string& text)
{
    std::vector<std::string> arguments;
    for (size_t from = 0; from < text.size();) {
        const size_t end = std::min(text.find(sSeparator, from), text.size());
        arguments.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return arguments;
}

std::string formatOrigin(const SOrigin& origin)
{
    return std::to_string(origin.utcNs) + " " + std::to_string(origin.monotonicNs);
}

SOrigin parseOrigin(const std::string& text)
{
    char* rest = nullptr;
    const int64_t utc = std::strtoll(text.c_str(), &rest, 10);
    return {utc, std::strtoll(rest, nullptr, 10)};
}

SOrigin originNow(const SOptions& options)
{
    return {options.startTimeNs ? options.startTimeNs : realTimeNs(), monotonicNs()};
}

} // namespace obrisim
