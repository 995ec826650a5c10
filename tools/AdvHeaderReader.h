#pragma once

#include "AdvRecords.h"
#include "ByteSource.h"

namespace obriadv {

/// Pixels of the largest image that is believed; a header that claims more is refused.
constexpr uint64_t sMostPixels = uint64_t{64} * 1024 * 1024;

/// Reads everything up to the first frame record. Empty on success, else why this is no readable recording.
/// Oddities that do not hinder reading are added to damage.
std::string readHeader(const ByteSource& source, SAdvHeader& header, std::vector<SAdvFinding>& damage);

/// Bytes that one frame of this layout takes when it is not compressed; 0 when the layout is not usable.
uint64_t rawBytes(const SAdvImageSection& image, const SAdvLayout& layout);

} // namespace obriadv
