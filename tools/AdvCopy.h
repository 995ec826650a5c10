#pragma once

#include "AdvFile.h"
#include "NewFile.h"

/// The steps that rewriting and repairing a recording share.
namespace obriadv {

/// Copies bytes of a recording as they are. False when they cannot be read.
bool copyBytes(const ByteSource& from, uint64_t offset, uint64_t length, NewFile& out);

/// Writes everything up to the first frame; positions and counts stay 0 until writeEnd. Empty on success, else why
/// this header cannot be written again.
std::string writeStart(NewFile& out, SAdvHeader& header);

/// Writes index and user metadata, and into the header where they are and how many frames there are.
/// @param frames  with the offsets and lengths that they have in out.
void writeEnd(NewFile& out, const SAdvHeader& header, const std::vector<SAdvFrame>& frames,
              const std::vector<SAdvTag>& userMetadata);

} // namespace obriadv
