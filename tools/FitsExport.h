#pragma once

#include "AdvFile.h"

namespace obriadv {

/// Writes one frame as a FITS file: the pixels as recorded, bottom row first as the standard counts, its times,
/// GPS position and state, counters and the recording's metadata. Never overwrites.
/// Empty on success, else what failed; a partial file is not left behind.
std::string exportFrame(AdvFile& file, size_t n, const std::string& path);

/// Writes every frame to folder/NAME_NNNNN.fits, NAME taken from the recording's file name, NNNNN from 0 in at least
/// five digits. The folder is made when missing. Frames that cannot be decoded are left out; a file that cannot be
/// written ends the work. Empty when every frame was written.
std::string exportAll(AdvFile& file, const std::string& recording, const std::string& folder);

} // namespace obriadv
