#include "LineLog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace obrisim {

static void complain(const std::string& path)
{
    const int error = errno;
    fprintf(stderr, "obri-simcam: %s: %s\n", path.c_str(), strerror(error));
}

static bool writeAll(int fd, const char* data, size_t bytes)
{
    while (bytes > 0) {
        const ssize_t written = ::write(fd, data, bytes);
        if (written < 0 && errno != EINTR)
            return false;
        data += written > 0 ? written : 0;
        bytes -= written > 0 ? static_cast<size_t>(written) : 0;
    }
    return true;
}

LineLog::LineLog(const std::string& path)
{
    if (path.empty())
        return;
    m_fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (m_fd < 0)
        complain(path);
}

LineLog::~LineLog()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

void LineLog::write(std::string_view line) const
{
    if (m_fd < 0)
        return;
    std::string whole(line);
    whole += '\n';
    writeAll(m_fd, whole.data(), whole.size());
}

void writeFile(const std::string& path, const void* data, size_t bytes)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || !writeAll(fd, static_cast<const char*>(data), bytes))
        complain(path);
    if (fd >= 0)
        ::close(fd);
}

} // namespace obrisim
