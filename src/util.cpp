#include "util.h"

#include "Ending.h"
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <libv4l2.h>

namespace {

constexpr int sAttempts = 5;

bool endsAttempts(int error)
{
    return error == EINTR || error == EAGAIN || error == ETIMEDOUT;
}

} // namespace

int v4l2IoctlWithRetry(int fd, int request, void* arg)
{
    int result = -1;
    for (int attempt = 0; attempt < sAttempts; ++attempt) {
        result = v4l2_ioctl(fd, static_cast<unsigned long>(static_cast<long>(request)), arg);
        if (result == 0 || endsAttempts(errno))
            break;
    }
    return result;
}

void printFailure(const char* what, int error)
{
    fprintf(stderr, "%s (%s)\n", what, strerror(error));
}

void endOnFailure(const char* what, int error)
{
    printFailure(what, error);
    endProcess(sFailureStatus);
}
