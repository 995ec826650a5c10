#pragma once

#include "AdvVerify.h"

namespace obriadv {

/// Checks a folder of FITS files as verifyRecording checks a recording: every sequence in it (files whose names
/// differ in the number at their end) is judged by its numbers and its times, every file by its size.
SVerifyReport verifyFitsFolder(const std::string& path);

} // namespace obriadv
