#pragma once
#include <string>
#include <string_view>

namespace obrisim {

/// A text file that grows by whole lines: each is written at once, so that a reader never sees half
/// of one, also when several processes write. Without a path nothing is written. Any thread.
class LineLog {
public:
    explicit LineLog(const std::string& path);
    ~LineLog();
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;

    bool isOn() const { return m_fd >= 0; }

    /// Adds one line; the line end is added here.
    void write(std::string_view line) const;

private:
    int m_fd = -1;
};

/// Writes a whole file; says on standard error when that fails.
void writeFile(const std::string& path, const void* data, size_t bytes);

} // namespace obrisim
