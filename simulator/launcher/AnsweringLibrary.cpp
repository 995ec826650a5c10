#include "AnsweringLibrary.h"

#include <filesystem>
#include <stdexcept>

namespace obrisim {

std::string ownExecutable()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

std::string answeringLibrary()
{
    const auto prefix = std::filesystem::path(ownExecutable()).parent_path().parent_path();
    const auto path = prefix / "lib/obri-camctl/obri-simcam.so";
    if (!std::filesystem::exists(path))
        throw std::runtime_error("the simulated camera's library is missing: " + path.string());
    return path.string();
}

} // namespace obrisim
