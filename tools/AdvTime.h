#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Times as recordings hold them: nanoseconds since 2010-01-01 00:00:00 UTC, leap seconds not counted. Any thread.
namespace obriadv {

constexpr int64_t sNsPerSecond = 1'000'000'000;
constexpr int64_t sNsPerMs = 1'000'000;
/// Time stamps are cut to whole milliseconds.
constexpr int64_t sGrainNs = sNsPerMs;

/// "2026-11-21T13:30:45.123", with 0 to 9 decimals (cut, not rounded).
std::string isoTime(int64_t ns, int decimals = 3);

/// Reads what isoTime writes, with any number of decimals or none. False, ns untouched, for anything else.
bool parseIsoTime(std::string_view text, int64_t& ns);

/// A time that the camera can have stamped: from 2010 to 2058.
bool isPlausibleTime(int64_t ns);

} // namespace obriadv
