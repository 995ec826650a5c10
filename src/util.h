#pragma once

// Small helpers of the device layer.

/// A request code as v4l2IoctlWithRetry takes it: 32 bits, the top one being the sign.
constexpr int requestCode(unsigned long request)
{
    return static_cast<int>(request);
}

/// Issues one request of the camera's driver under the program's retry policy: up to five attempts without a pause.
///
/// @param fd       descriptor from initCameraDevice, or one of v4l2_open.
/// @param request  requestCode of the request; it is widened with its sign again, which libv4l2 cuts off.
/// @param arg      the request's own record.
///
/// EINTR, EAGAIN and ETIMEDOUT end the attempts at once: the reverse of the common habit, on purpose, because they
/// mean "no frame yet" or "the camera does not answer" here, while other errors of a busy bus pass when repeated.
/// @return the last result: 0, or negative with errno set. Any thread.
int v4l2IoctlWithRetry(int fd, int request, void* arg);

/// Says "what (system's reason)" on standard error. Any thread.
void printFailure(const char* what, int error);

/// The end of a device operation without which the camera cannot be used: says "what (system's reason)" on standard
/// error and ends the process with status 255, recordings finalised. Any thread.
[[noreturn]] void endOnFailure(const char* what, int error);
