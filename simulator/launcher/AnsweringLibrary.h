#pragma once
#include <string>

namespace obrisim {

/// Path of the library that answers for the camera, in the folder ../lib/obri-camctl beside the one
/// this program runs from: the same in the build tree and once installed.
std::string answeringLibrary();

/// This program's own executable.
std::string ownExecutable();

} // namespace obrisim
