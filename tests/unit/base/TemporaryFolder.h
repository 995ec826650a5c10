#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdlib.h>
#include <string>

/// The texts of a directory's regular files by their paths; none without the directory.
inline std::map<std::string, std::string> filesIn(const std::filesystem::path& directory)
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

/// A fresh working directory for the life of the object.
class TemporaryFolder {
public:
    TemporaryFolder() : m_before(std::filesystem::current_path())
    {
        std::string name = (std::filesystem::temp_directory_path() / "obri-test-XXXXXX").string();
        m_path = mkdtemp(name.data());
        std::filesystem::current_path(m_path);
    }
    ~TemporaryFolder()
    {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// The text of the only file whose name begins so; empty when there is none.
    std::string textOf(const std::string& nameBegin) const
    {
        for (const auto& [path, text] : filesIn(m_path))
            if (path.find("/" + nameBegin) != std::string::npos)
                return text;
        return {};
    }

private:
    std::filesystem::path m_before, m_path;
};
