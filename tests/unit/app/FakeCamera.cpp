#include "FakeCamera.h"

#include "camera_control.h"
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <libv4l2.h>
#include <linux/usb/video.h>
#include <linux/uvcvideo.h>
#include <linux/videodev2.h>
#include <sys/mman.h>

namespace {

FakeCamera* sFake = nullptr;

int fail(int error)
{
    errno = error;
    return -1;
}

} // namespace

FakeCamera::FakeCamera()
{
    sFake = this;
}

FakeCamera::~FakeCamera()
{
    sFake = nullptr;
    obriCam() = {}; // the next test finds the record as a new process does
}

int FakeCamera::count(uint32_t request) const
{
    return static_cast<int>(std::count(requests.begin(), requests.end(), request));
}

int FakeCamera::answer(uint32_t request, void* arg)
{
    requests.push_back(request);
    if (const auto refused = refusal.find(request); refused != refusal.end())
        return fail(refused->second);
    if (request == VIDIOC_QUERYBUF) {
        static_cast<v4l2_buffer*>(arg)->length = 0x20000;
    } else if (request == VIDIOC_DQBUF) {
        static_cast<v4l2_buffer*>(arg)->index = 2;
        static_cast<v4l2_buffer*>(arg)->bytesused = bytesUsed;
    } else if (request == UVCIOC_CTRL_QUERY) {
        takeCommand(arg);
    }
    return 0;
}

void FakeCamera::takeCommand(const void* arg)
{
    const auto* query = static_cast<const uvc_xu_control_query*>(arg);
    if (query->unit != 3 || query->selector != 5 || query->query != UVC_SET_CUR || query->size != 5)
        return;
    Command command;
    memcpy(command.data(), query->data, command.size());
    commands.push_back(command);
}

extern "C" {

int v4l2_open(const char*, int, ...)
{
    return fail(EACCES);
}

int v4l2_close(int)
{
    return 0;
}

int v4l2_ioctl(int, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* arg = va_arg(arguments, void*);
    va_end(arguments);
    return sFake ? sFake->answer(static_cast<uint32_t>(request), arg) : fail(ENODEV);
}

void* v4l2_mmap(void*, size_t length, int, int, int, int64_t)
{
    ++sFake->mappings;
    return calloc(1, length);
}

int v4l2_munmap(void* address, size_t)
{
    --sFake->mappings;
    free(address);
    return 0;
}
}
