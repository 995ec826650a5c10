#pragma once
#include "Options.h"

#include <cstdint>
#include <string>
#include <vector>

namespace obrisim {

// The launcher hands these to the program it starts; the preloaded library reads them there.
constexpr const char* sArgumentsVariable = "OBRI_SIMCAM_ARGUMENTS";
constexpr const char* sOriginVariable = "OBRI_SIMCAM_ORIGIN";
constexpr const char* sControlVariable = "OBRI_SIMCAM_CONTROL";

/// When the camera was switched on: UTC since 1970 and monotonic, both in ns.
struct SOrigin {
    int64_t utcNs = 0, monotonicNs = 0;
};

/// Lists of arguments as one text, and back; the separator is one that no argument carries.
std::string joinArguments(const std::vector<std::string>& arguments);
std::vector<std::string> splitArguments(const std::string& text);

std::string formatOrigin(const SOrigin& origin);
SOrigin parseOrigin(const std::string& text);

/// The switching-on that the options ask for, if it happens now.
SOrigin originNow(const SOptions& options);

} // namespace obrisim
