#include "AnsweringLibrary.h"

#include <filesystem>

namespace obrisim {

std::string ownExecutable()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

std::string answeringLibrary()
{
    const auto prefix = std::filesystem::path(ownExecutable()).parent_path().parent_path();
    for (const char* folder : {"lib/obri-camctl", OBRI_PRIVATE_LIBRARY_FOLDER})
        if (const auto path = prefix / folder / "obri-simcam.so"; std::filesystem::exists(path))
            return path.string();
    throw std::filesystem::filesystem_error("the simulated camera's library is missing", prefix / "lib/obri-camctl",
                                            std::make_error_code(std::errc::no_such_file_or_directory));
}

} // namespace obrisim
