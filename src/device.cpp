#include "device.h"

#include "Ending.h"
#include "util.h"
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <libv4l2.h>
#include <linux/usb/video.h>
#include <linux/uvcvideo.h>
#include <sys/select.h>

namespace {

constexpr uint8_t sExtensionUnit = 3;

void listFrameSizes(int fd, uint32_t pixelFormat)
{
    v4l2_frmsizeenum size{};
    size.pixel_format = pixelFormat;
    for (; v4l2IoctlWithRetry(fd, requestCode(VIDIOC_ENUM_FRAMESIZES), &size) == 0; ++size.index) {
        if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE)
            printf("- ix=%d, w=%d, h=%d\n", static_cast<int>(size.index), static_cast<int>(size.discrete.width),
                   static_cast<int>(size.discrete.height));
        else
            printf("- ix=%d, not discrete\n", static_cast<int>(size.index));
    }
}

void listFormats(int fd)
{
    v4l2_fmtdesc format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    while (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_ENUM_FMT), &format) == 0) {
        ++format.index; // before it is printed, on purpose: formats count from 1 here, frame sizes from 0
        printf("ix=%d, t=%08x, flags=%08x, desc=%s, fmt=%08x\n", static_cast<int>(format.index), format.type,
               format.flags, reinterpret_cast<const char*>(format.description), format.pixelformat);
        listFrameSizes(fd, format.pixelformat);
    }
}

int requestStreaming(int fd, unsigned long request)
{
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return v4l2IoctlWithRetry(fd, requestCode(request), &type);
}

void reportNoFrame(const char* kind)
{
    fprintf(stderr, "Could not grab image (%s): %s\n", kind, strerror(errno));
}

} // namespace

int initCameraDevice(const char* path)
{
    const int fd = v4l2_open(path, O_RDWR | O_NONBLOCK);
    if (fd < 0) {
        fprintf(stderr, "Camera initialization failed, exiting (%s)...\n", strerror(errno));
        endProcess(sFailureStatus);
    }
    printf("Camera device open, fd=%d\n", fd);
    listFormats(fd);
    return fd;
}

int cameraDeviceSetFormat(int fd, int w, int h)
{
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = static_cast<uint32_t>(w);
    format.fmt.pix.height = static_cast<uint32_t>(h);
    format.fmt.pix.pixelformat = V4L2_PIX_FMT_YUYV; // two bytes a pixel: what the raw pixels travel as
    format.fmt.pix.field = V4L2_FIELD_ANY;
    printf("cameraDeviceSetFormat: fd=%d, w=%d, h=%d\n", fd, w, h);
    const int result = v4l2IoctlWithRetry(fd, requestCode(VIDIOC_S_FMT), &format);
    if (result < 0) {
        const int error = errno;
        printFailure("Failed to change video format", error);
        errno = error; // the caller has something to say about it, too
    }
    return result;
}

void cameraDeviceStartStreaming(int fd)
{
    if (requestStreaming(fd, VIDIOC_STREAMON) < 0)
        endOnFailure("Failed to start streaming, exiting...", errno);
    puts("Camera device is streaming...");
}

void cameraDeviceStopStreaming(int fd)
{
    constexpr int notStreaming = 9;
    int result = requestStreaming(fd, VIDIOC_STREAMOFF);
    // The result, not errno, on purpose: requests return 0 or -1, so this does not happen in practice.
    if (result == notStreaming) {
        fprintf(stderr, "Failed to stop streaming (wasn't streaming)\n");
        result = 0;
    }
    if (result < 0)
        endOnFailure("Failed to start streaming, exiting...", errno); // the same text as for starting, on purpose
    puts("Camera device streaming stopped.");
}

int cameraDeviceRestartStreaming(int fd, SVideoMemory* memory)
{
    if (requestStreaming(fd, VIDIOC_STREAMOFF) < 0)
        return errno;
    if (const int error = requeueVideoMemory(fd, memory))
        return error;
    return requestStreaming(fd, VIDIOC_STREAMON) < 0 ? errno : 0;
}

int cameraDeviceProbe(int fd)
{
    v4l2_capability capability{};
    return v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QUERYCAP), &capability) < 0 ? errno : 0;
}

int cameraDeviceWaitForFrame(int fd)
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval timeOut{.tv_sec = 1, .tv_usec = 0};
    const int ready = select(fd + 1, &readable, nullptr, nullptr, &timeOut);
    if (ready > 0 && FD_ISSET(fd, &readable))
        return 1;
    reportNoFrame(ready < 0 ? "select error" : ready == 0 ? "select timeout" : "unknown error");
    return 0;
}

void cameraDeviceSetXu(int fd, int selector, uint8_t* data, int len)
{
    if (cameraDeviceTrySetXu(fd, selector, data, len) < 0)
        endOnFailure("Failed to access extension unit, exiting...", errno);
}

int cameraDeviceTrySetXu(int fd, int selector, uint8_t* data, int len)
{
    uvc_xu_control_query query{};
    query.unit = sExtensionUnit;
    query.selector = static_cast<uint8_t>(selector);
    query.query = UVC_SET_CUR;
    query.size = static_cast<uint16_t>(len);
    query.data = data;
    return v4l2IoctlWithRetry(fd, requestCode(UVCIOC_CTRL_QUERY), &query);
}
