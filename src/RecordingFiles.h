#pragma once

#include <string>

// Where recordings go, so that no recording takes the place of an earlier one. Main thread.

/// Moves an earlier file out of the way: "recording.adv" becomes "recording-20240305-060708.adv", after the UTC time
/// of its last change, with "-2", "-3" behind it where that exists. Nothing happens without such a file.
///
/// @param path without directory or with one; an empty file, or what is no regular file, stays where it is.
/// @return empty, or why the file is still there.
std::string keepEarlierFile(const std::string& path);

/// Creates a directory unless it is there.
/// @return empty, or why no file can be written into it.
std::string makeDirectory(const std::string& path);

/// path, or path with "-2", "-3" and so on before the extension: the first one that is not taken yet.
/// A template is asked about its first frame.
std::string freeFitsPath(const std::string& path);
