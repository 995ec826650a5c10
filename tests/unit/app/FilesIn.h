#pragma once

#include "../base/TemporaryFolder.h"

#include <map>

/// The texts of a directory's regular files by their paths; none without the directory.
inline std::map<std::string, std::string> filesIn(const std::string& directory)
{
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        std::ifstream file(entry.path(), std::ios::binary);
        if (entry.is_regular_file())
            files[entry.path().string()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
}
