#pragma once

#include <string>

namespace obriadv {

/// What a rewrite did, or why it did not.
struct SRewriteResult {
    std::string error;       ///< empty on success; nothing is left behind otherwise
    bool isRecording = true; ///< false: the input cannot be read as a recording at all
    std::string summary;     ///< one line on success
};

/// Writes the recording again with its full frames Lagarith16-compressed, everything else as it was, the index with
/// full 64-bit values. The result is read back and compared frame by frame before it gets its name.
/// Only whole 16-bit recordings that are not compressed yet.
SRewriteResult compressRecording(const std::string& input, const std::string& output);

/// The inverse.
SRewriteResult decompressRecording(const std::string& input, const std::string& output);

/// Writes all whole frame records of an interrupted or damaged recording with a complete index, counts and end.
SRewriteResult repairRecording(const std::string& input, const std::string& output);

} // namespace obriadv
