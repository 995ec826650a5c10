#include "NewFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace obriadv {

namespace {

constexpr size_t sBufferBytes = size_t{1} << 20;

bool exists(const std::string& path)
{
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

std::string existsAlready(const std::string& path)
{
    return "\"" + path + "\" exists already and is not overwritten";
}

} // namespace

NewFile::NewFile(std::string path, std::string temporary, int descriptor)
    : m_path(std::move(path)), m_temporary(std::move(temporary)), m_descriptor(descriptor)
{
    m_buffer.reserve(sBufferBytes);
}

std::unique_ptr<NewFile> NewFile::create(const std::string& path, std::string& error)
{
    if (exists(path)) {
        error = existsAlready(path);
        return nullptr;
    }
    std::string temporary = path + ".part";
    // O_EXCL: another run that is at work on the same name keeps its file.
    const int descriptor = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        error = errno == EEXIST ? "\"" + temporary + "\" exists: another run is writing it, or was interrupted"
                                : "cannot create \"" + temporary + "\" (" + strerror(errno) + ")";
        return nullptr;
    }
    return std::unique_ptr<NewFile>(new NewFile(path, std::move(temporary), descriptor));
}

NewFile::~NewFile()
{
    ::close(m_descriptor);
    if (!m_isCommitted)
        unlink(m_temporary.c_str());
}

void NewFile::writeThrough(uint64_t offset, const uint8_t* bytes, size_t length)
{
    while (length > 0 && m_error == 0) {
        const ssize_t put = pwrite(m_descriptor, bytes, length, static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            m_error = put < 0 ? errno : ENOSPC;
            return;
        }
        bytes += put;
        offset += static_cast<uint64_t>(put);
        length -= static_cast<size_t>(put);
    }
}

void NewFile::write(const void* bytes, size_t length)
{
    const auto* from = static_cast<const uint8_t*>(bytes);
    if (m_buffer.size() + length > sBufferBytes) {
        writeThrough(m_written, m_buffer.data(), m_buffer.size());
        m_written += m_buffer.size();
        m_buffer.clear();
    }
    if (length > sBufferBytes) {
        writeThrough(m_written, from, length);
        m_written += length;
    } else {
        m_buffer.insert(m_buffer.end(), from, from + length);
    }
}

void NewFile::patch(uint64_t offset, const void* bytes, size_t length)
{
    std::string ignored; // kept in m_error
    if (flush(ignored))
        writeThrough(offset, static_cast<const uint8_t*>(bytes), length);
}

bool NewFile::flush(std::string& error)
{
    writeThrough(m_written, m_buffer.data(), m_buffer.size());
    m_written += m_buffer.size();
    m_buffer.clear();
    if (m_error != 0)
        error = "cannot write \"" + m_temporary + "\" (" + strerror(m_error) + ")";
    return m_error == 0;
}

bool NewFile::commit(std::string& error, bool isDurable)
{
    if (!flush(error))
        return false;
    if (isDurable && fsync(m_descriptor) != 0) {
        error = "cannot write \"" + m_temporary + "\" (" + strerror(errno) + ")";
        return false;
    }
    int failed = renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), RENAME_NOREPLACE);
    // Some network file systems do not know this flag; the moment between look and rename is then left open.
    if (failed != 0 && errno == EINVAL && !exists(m_path))
        failed = rename(m_temporary.c_str(), m_path.c_str());
    if (failed != 0) {
        error =
            errno == EEXIST ? existsAlready(m_path) : "cannot rename to \"" + m_path + "\" (" + strerror(errno) + ")";
        return false;
    }
    m_isCommitted = true;
    return true;
}

} // namespace obriadv
