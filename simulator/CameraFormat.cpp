#include "Camera.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace obrisim {

template <class T>
static T& as(void* argument)
{
    return *static_cast<T*>(argument);
}

template <size_t N>
static void setText(uint8_t (&field)[N], const std::string& text)
{
    memset(field, 0, N);
    memcpy(field, text.data(), std::min(text.size(), N - 1));
}

int Camera::queryCapabilities(SHandle& handle, void* argument)
{
    auto& answer = as<v4l2_capability>(argument);
    answer = {};
    setText(answer.driver, "uvcvideo");
    setText(answer.card, m_options.name);
    setText(answer.bus_info, "usb-0000:00:14.0-" + std::to_string(3 + m_identity.number));
    answer.version = 6 << 16 | 1 << 8;
    // The first word describes the device with all its nodes, on either node.
    const uint32_t both = V4L2_CAP_STREAMING | V4L2_CAP_EXT_PIX_FORMAT;
    answer.capabilities = both | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_DEVICE_CAPS;
    answer.device_caps = both | (handle.metadata ? V4L2_CAP_META_CAPTURE : V4L2_CAP_VIDEO_CAPTURE);
    return 0;
}

int Camera::enumFormats(SHandle&, void* argument)
{
    auto& answer = as<v4l2_fmtdesc>(argument);
    if (answer.index > 0 || answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    answer = {};
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    answer.pixelformat = V4L2_PIX_FMT_YUYV;
    setText(answer.description, "YUYV 4:2:2");
    return 0;
}

int Camera::enumFrameSizes(SHandle&, void* argument)
{
    auto& answer = as<v4l2_frmsizeenum>(argument);
    const auto modes = sensorModes();
    if (answer.index >= modes.size() || answer.pixel_format != V4L2_PIX_FMT_YUYV)
        return -EINVAL;
    const SSensorMode& mode = modes[answer.index];
    answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    answer.discrete = {static_cast<uint32_t>(mode.words), static_cast<uint32_t>(mode.height)};
    memset(answer.reserved, 0, sizeof answer.reserved);
    return 0;
}

// In units of 100 ns, as the USB descriptors have it.
static v4l2_fract interval(int64_t ns)
{
    return {static_cast<uint32_t>(ns / 100), 10'000'000};
}

int Camera::enumFrameIntervals(SHandle&, void* argument)
{
    auto& answer = as<v4l2_frmivalenum>(argument);
    const SSensorMode& mode = nearestMode(answer.width, answer.height);
    const bool known = mode.words == static_cast<int>(answer.width) && mode.height == static_cast<int>(answer.height);
    if (answer.index > 0 || answer.pixel_format != V4L2_PIX_FMT_YUYV || !known)
        return -EINVAL;
    answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    answer.discrete = interval(mode.readoutNs);
    memset(answer.reserved, 0, sizeof answer.reserved);
    return 0;
}

static void describe(const SSensorMode& mode, v4l2_format& format)
{
    v4l2_pix_format pixels{};
    pixels.width = static_cast<uint32_t>(mode.words);
    pixels.height = static_cast<uint32_t>(mode.height);
    pixels.pixelformat = V4L2_PIX_FMT_YUYV;
    pixels.field = V4L2_FIELD_NONE;
    pixels.bytesperline = 2 * pixels.width;
    pixels.sizeimage = static_cast<uint32_t>(mode.bytes());
    pixels.colorspace = V4L2_COLORSPACE_SRGB;
    pixels.priv = V4L2_PIX_FMT_PRIV_MAGIC;
    format.fmt.pix = pixels;
}

int Camera::getFormat(SHandle&, void* argument)
{
    auto& format = as<v4l2_format>(argument);
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    describe(*m_mode, format);
    return 0;
}

int Camera::tryFormat(SHandle&, void* argument)
{
    auto& format = as<v4l2_format>(argument);
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    describe(nearestMode(format.fmt.pix.width, format.fmt.pix.height), format);
    return 0;
}

int Camera::setFormat(SHandle& handle, void* argument)
{
    auto& format = as<v4l2_format>(argument);
    if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    if (isOwnedByOther(handle) || m_buffers.isAllocated() || handle.priority < highestPriority())
        return -EBUSY;
    if (const int error = m_formatFault.error())
        return -error;
    m_mode = &nearestMode(format.fmt.pix.width, format.fmt.pix.height);
    describe(*m_mode, format);
    return 0;
}

int Camera::getParameters(SHandle&, void* argument)
{
    auto& answer = as<v4l2_streamparm>(argument);
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return -EINVAL;
    v4l2_captureparm capture{};
    capture.capability = V4L2_CAP_TIMEPERFRAME;
    capture.timeperframe = interval(m_mode->readoutNs);
    answer.parm.capture = capture;
    return 0;
}

int Camera::enumInputs(SHandle&, void* argument)
{
    auto& answer = as<v4l2_input>(argument);
    if (answer.index > 0)
        return -EINVAL;
    answer = {};
    setText(answer.name, "Camera 1");
    answer.type = V4L2_INPUT_TYPE_CAMERA;
    return 0;
}

int Camera::getInput(SHandle&, void* argument)
{
    as<int>(argument) = 0;
    return 0;
}

int Camera::setInput(SHandle& handle, void* argument)
{
    if (isOwnedByOther(handle) || handle.priority < highestPriority())
        return -EBUSY;
    return as<int>(argument) == 0 ? 0 : -EINVAL;
}

uint32_t Camera::highestPriority() const
{
    uint32_t highest = V4L2_PRIORITY_UNSET;
    for (const SHandle& handle : m_handles)
        highest = std::max(highest, handle.priority);
    return highest;
}

int Camera::getPriority(SHandle&, void* argument)
{
    as<uint32_t>(argument) = highestPriority();
    return 0;
}

int Camera::setPriority(SHandle& handle, void* argument)
{
    const uint32_t priority = as<uint32_t>(argument);
    if (handle.priority < highestPriority())
        return -EBUSY;
    if (priority < V4L2_PRIORITY_BACKGROUND || priority > V4L2_PRIORITY_RECORD)
        return -EINVAL;
    handle.priority = priority;
    return 0;
}

int Camera::enumMetadataFormats(SHandle&, void* argument)
{
    auto& answer = as<v4l2_fmtdesc>(argument);
    if (answer.index > 0 || answer.type != V4L2_BUF_TYPE_META_CAPTURE)
        return -EINVAL;
    answer = {};
    answer.type = V4L2_BUF_TYPE_META_CAPTURE;
    answer.pixelformat = V4L2_META_FMT_UVC;
    setText(answer.description, "UVC Payload Header Metadata");
    return 0;
}

int Camera::metadataFormat(SHandle&, void* argument)
{
    auto& format = as<v4l2_format>(argument);
    if (format.type != V4L2_BUF_TYPE_META_CAPTURE)
        return -EINVAL;
    memset(&format.fmt, 0, sizeof format.fmt);
    format.fmt.meta.dataformat = V4L2_META_FMT_UVC;
    format.fmt.meta.buffersize = 10240;
    return 0;
}

} // namespace obrisim
