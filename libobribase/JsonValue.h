#pragma once

#include <string>
#include <string_view>

namespace libobribase {

/// Finds a key of the outermost object of a JSON text; of several alike the first counts.
///
/// A string comes back unescaped (as UTF-8), any other value as written. False, with *value untouched, when the key
/// is missing, the text up to its value's end is not JSON, or nests deeper than 64 levels. Any thread.
bool jsonValue(std::string_view json, std::string_view key, std::string* value);

} // namespace libobribase
