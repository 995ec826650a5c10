#include "RecordingFiles.h"

#include "FitsSequenceWriter.h"
#include "Log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool exists(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// "a/b.fits", "-2": "a/b-2.fits"
std::string beforeExtension(const std::string& path, const std::string& insertion)
{
    const size_t point = path.rfind('.');
    const size_t slash = path.rfind('/');
    const bool hasExtension = point != std::string::npos && (slash == std::string::npos || point > slash);
    std::string result = path;
    return result.insert(hasExtension ? point : path.size(), insertion);
}

// The n-th choice for a name, from 1: the name itself, then "-2", "-3".
std::string choice(const std::string& path, int n)
{
    return n == 1 ? path : beforeExtension(path, std::string("-").append(std::to_string(n)));
}

std::string nameAfterChange(const std::string& path, time_t changed)
{
    tm utc{};
    gmtime_r(&changed, &utc);
    char text[32];
    strftime(text, sizeof text, "-%Y%m%d-%H%M%S", &utc);
    return beforeExtension(path, text);
}

// Never replaces a file, also when another program is quicker. 0 or an error number.
int renameWithoutReplacing(const std::string& from, const std::string& to)
{
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    const bool isUnknownHere = errno == EINVAL || errno == ENOSYS; // some file systems cannot tell
    if (!isUnknownHere)
        return errno;
    if (exists(to))
        return EEXIST;
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

} // namespace

std::string keepEarlierFile(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size == 0)
        return "";
    const std::string name = nameAfterChange(path, status.st_mtime);
    int n = 1, error = 0;
    while ((error = renameWithoutReplacing(path, choice(name, n))) == EEXIST)
        ++n;
    if (error != 0)
        return "the earlier " + path + " cannot be renamed (" + strerror(error) + ")";
    libobribase::logStringString("I The earlier " + path + " is kept as", choice(name, n));
    return "";
}

std::string makeDirectory(const std::string& path)
{
    struct stat status;
    if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
        return path + " cannot be created (" + strerror(errno) + ")";
    if (stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return path + " is not a directory";
    if (access(path.c_str(), W_OK | X_OK) != 0)
        return path + " cannot be written into (" + strerror(errno) + ")";
    return "";
}

std::string freeFitsPath(const std::string& path)
{
    int n = 1;
    while (exists(libobrifile::FitsSequenceWriter::FramePath(choice(path, n), 1)))
        ++n;
    return choice(path, n);
}
