#pragma once

#include <cstdint>

/// What discovery found out about the camera. The texts are heap copies that live as long as the process.
struct SDeviceDiscoveryInfo {
    int32_t dataValid;  ///< 1: a camera was found and all other fields are filled; else 0
    char* device;       ///< device node path
    char* name;         ///< card name, "OBRI+CAM ..."
    char* driver;       ///< driver name
    char* busInfo;      ///< the driver's text about the bus
    uint32_t vendorId;  ///< USB vendor
    uint32_t productId; ///< USB product
    uint64_t busNr;     ///< USB bus
    uint64_t devNr;     ///< USB device on that bus
};
using TDeviceDiscoveryInfo = SDeviceDiscoveryInfo;

/// Looks for the camera among all video devices and takes the first that carries its card name and can capture.
///
/// @param info  filled and reported on standard output when a camera was found; otherwise only dataValid is set, to 0.
/// @return 1 when a camera was found, 0 when not.
///
/// A node that cannot be opened never matches; when nothing matched and permission was what was missing, the log says
/// so. Ends the process with status 255 when libudev gives no context. Main thread, before the streaming thread runs.
int discoverObriCam(SDeviceDiscoveryInfo* info);
