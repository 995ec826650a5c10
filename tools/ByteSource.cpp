#include "ByteSource.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace obriadv {

namespace {

bool lies(uint64_t offset, size_t length, uint64_t size)
{
    return offset <= size && length <= size - offset;
}

} // namespace

std::unique_ptr<FileSource> FileSource::open(const std::string& path, std::string& error)
{
    // Not blocking: a named pipe without a writer would otherwise hold the open for ever.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        error = "cannot open \"" + path + "\" (" + strerror(errno) + ")";
        return nullptr;
    }
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        error = "\"" + path + "\" is not a regular file";
        ::close(descriptor);
        return nullptr;
    }
    return std::unique_ptr<FileSource>(new FileSource(descriptor, static_cast<uint64_t>(status.st_size)));
}

FileSource::~FileSource()
{
    ::close(m_descriptor);
}

bool FileSource::read(uint64_t offset, void* to, size_t length) const
{
    if (!lies(offset, length, m_size))
        return false;
    auto* next = static_cast<uint8_t*>(to);
    while (length > 0) {
        const ssize_t got = pread(m_descriptor, next, length, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) // an error, or a file that has become shorter since it was opened
            return false;
        next += got;
        offset += static_cast<uint64_t>(got);
        length -= static_cast<size_t>(got);
    }
    return true;
}

bool MemorySource::read(uint64_t offset, void* to, size_t length) const
{
    if (!lies(offset, length, m_bytes.size()))
        return false;
    if (length > 0)
        memcpy(to, m_bytes.data() + offset, length);
    return true;
}

} // namespace obriadv
