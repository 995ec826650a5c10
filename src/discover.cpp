#include "discover.h"

#include "Ending.h"
#include "Log.h"
#include "util.h"
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <libudev.h>
#include <libv4l2.h>
#include <linux/videodev2.h>
#include <memory>
#include <string>

namespace {

/// Gives a C object back through the function that its library names for it.
template <auto Release>
struct SReleaser {
    template <class T>
    void operator()(T* object) const noexcept
    {
        Release(object);
    }
};
using UdevContext = std::unique_ptr<udev, SReleaser<udev_unref>>;
using UdevEnumerator = std::unique_ptr<udev_enumerate, SReleaser<udev_enumerate_unref>>;
using UdevDevice = std::unique_ptr<udev_device, SReleaser<udev_device_unref>>;

constexpr char sCardName[] = "OBRI+CAM "; // with its blank: a model name follows

/// The capability word of this node. Drivers that have several nodes report the whole device's in `capabilities`, so
/// a metadata node claims to capture there, too.
uint32_t nodeCapabilities(const v4l2_capability& capability)
{
    return capability.capabilities & V4L2_CAP_DEVICE_CAPS ? capability.device_caps : capability.capabilities;
}

bool isCamera(const v4l2_capability& capability)
{
    return memcmp(capability.card, sCardName, strlen(sCardName)) == 0 &&
           (nodeCapabilities(capability) & V4L2_CAP_VIDEO_CAPTURE) != 0;
}

/// Asks a node what it is; capability is cleared when the node does not say. @return 0, or why it did not open.
int queryNode(const char* node, v4l2_capability& capability)
{
    capability = {};
    const int fd = v4l2_open(node, O_RDWR | O_NONBLOCK);
    if (fd < 0)
        return errno;
    if (v4l2IoctlWithRetry(fd, requestCode(VIDIOC_QUERYCAP), &capability) != 0)
        capability = {};
    v4l2_close(fd);
    return 0;
}

uint64_t readNumber(udev_device* device, const char* attribute, int base)
{
    const char* text = udev_device_get_sysattr_value(device, attribute);
    return text ? strtoull(text, nullptr, base) : 0;
}

/// A heap copy of a driver's text, which need not be terminated when it fills its field.
template <size_t Size>
char* copyText(const __u8 (&text)[Size])
{
    return strndup(reinterpret_cast<const char*>(text), Size);
}

void fillInfo(SDeviceDiscoveryInfo& info, udev_device* device, const v4l2_capability& capability)
{
    info.device = strdup(udev_device_get_devnode(device));
    info.name = copyText(capability.card);
    info.driver = copyText(capability.driver);
    info.busInfo = copyText(capability.bus_info);
    // Borrowed: the parent lives as long as its child.
    if (udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) {
        info.vendorId = static_cast<uint32_t>(readNumber(usb, "idVendor", 16));
        info.productId = static_cast<uint32_t>(readNumber(usb, "idProduct", 16));
        info.busNr = readNumber(usb, "busnum", 10);
        info.devNr = readNumber(usb, "devnum", 10);
    }
    info.dataValid = 1;
}

/// Fills info when a device is the camera. refusal becomes the first node that permission was missing for.
void tryDevice(udev* context, const char* sysfsPath, SDeviceDiscoveryInfo& info, std::string& refusal)
{
    const UdevDevice device(udev_device_new_from_syspath(context, sysfsPath));
    const char* node = device ? udev_device_get_devnode(device.get()) : nullptr;
    if (!node)
        return;
    v4l2_capability capability;
    const int error = queryNode(node, capability);
    if (refusal.empty() && (error == EACCES || error == EPERM))
        refusal = std::string(node) + " (" + strerror(error) + ")";
    if (isCamera(capability))
        fillInfo(info, device.get(), capability);
}

/// Walks the video devices up to the camera. Returns what permission was missing for on the way, empty for nothing.
std::string searchCamera(udev* context, SDeviceDiscoveryInfo& info)
{
    const UdevEnumerator enumerator(udev_enumerate_new(context));
    udev_enumerate_add_match_subsystem(enumerator.get(), "video4linux");
    udev_enumerate_scan_devices(enumerator.get());
    std::string refusal;
    udev_list_entry* entry;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerator.get()))
    {
        tryDevice(context, udev_list_entry_get_name(entry), info, refusal);
        if (info.dataValid)
            break;
    }
    return refusal;
}

} // namespace

int discoverObriCam(SDeviceDiscoveryInfo* info)
{
    info->dataValid = 0;
    const UdevContext context(udev_new());
    if (!context) {
        fprintf(stderr, "libudev failure, no udev");
        endProcess(sFailureStatus);
    }
    const std::string refusal = searchCamera(context.get(), *info);
    if (!info->dataValid) {
        if (!refusal.empty())
            libobribase::logString("W No camera was found, and permission is missing for " + refusal);
        return 0;
    }
    printf("Camera device found: %s, %s, %s, %s, %04x/%04x, bus=%" PRIu64 ", dev=%" PRIu64 "\n", info->name,
           info->device, info->driver, info->busInfo, info->vendorId, info->productId, info->busNr, info->devNr);
    return 1;
}
