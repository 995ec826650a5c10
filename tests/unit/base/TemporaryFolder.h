#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdlib.h>
#include <string>

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
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            if (entry.path().filename().string().rfind(nameBegin, 0) != 0)
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            return {std::istreambuf_iterator<char>(file), {}};
        }
        return {};
    }

private:
    std::filesystem::path m_before, m_path;
};
