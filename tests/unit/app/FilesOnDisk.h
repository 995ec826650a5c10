#pragma once

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// A directory of the test's own that is the working directory for its length, as recordings land there.
class RecordingSite {
public:
    RecordingSite() : m_before(std::filesystem::current_path())
    {
        std::string path = (std::filesystem::temp_directory_path() / "obri-site-XXXXXX").string();
        if (mkdtemp(path.data()) == nullptr)
            abort();
        std::filesystem::current_path(m_path = path);
    }
    ~RecordingSite()
    {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_path);
    }

private:
    std::filesystem::path m_before, m_path;
};

inline void writeFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// Paths of a directory's regular files, sorted; empty without the directory.
inline std::vector<std::string> filesIn(const std::string& directory)
{
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
        if (entry.is_regular_file())
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}
