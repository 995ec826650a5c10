#pragma once

#include "AdvFile.h"

namespace obriadv {

/// What a recording holds, for people: a line a thing.
std::string infoText(const AdvFile& file, const std::string& name);

/// The same as one JSON object, for programs.
std::string infoJson(const AdvFile& file, const std::string& name);

} // namespace obriadv
