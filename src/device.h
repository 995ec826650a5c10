#pragma once

#include "discover.h"
#include "videomem.h"
#include <cstdint>

/// The one open camera. The int fields are shared between threads: outside the frame gate they are read and written
/// through loadShared and storeShared.
struct SVideoDevice {
    SDeviceDiscoveryInfo info;
    int32_t fd;                   ///< from initCameraDevice
    int32_t w;                    ///< image width in pixels, as chosen
    int32_t wCompact;             ///< width that the driver was asked for: 16-bit words a line
    int32_t h;                    ///< image height in lines
    int32_t isStreaming;          ///< 1 between start and stop
    int32_t applyNoiseCorrection; ///< setting, read once a frame
    int32_t showPcTime;           ///< setting, read once a frame
    int32_t invertImage;          ///< setting, read once a frame
    int32_t frameNr;              ///< frames handled so far; streaming thread
    SVideoMemory videomem;
};

/// Opens the camera without blocking and lists its formats on standard output.
/// @return the descriptor; a failed open ends the process with status 255. Main thread.
int initCameraDevice(const char* path);

/// Sets the capture format: w words of 16 bits a line, h lines. The driver's adjustments are not read back.
/// @return the request's result; a negative one has been said on standard error and leaves errno set.
/// Called with the frame gate held, while no buffers exist.
int cameraDeviceSetFormat(int fd, int w, int h);

// A failure of either ends the process with status 255 and a message. Called with the frame gate held.
void cameraDeviceStartStreaming(int fd);
void cameraDeviceStopStreaming(int fd);

/// Stops and starts a stream that has died, with the buffers mapped as they are. Quiet.
/// @return 0, or the errno of what failed: the stream is then as dead as before, or stopped.
/// Streaming thread, with the frame gate held.
int cameraDeviceRestartStreaming(int fd, SVideoMemory* memory);

/// Whether the camera still answers. @return 0, or the errno of the capability query. Any thread.
int cameraDeviceProbe(int fd);

/// Waits for a frame, one second at most.
/// @return 1 when a frame can be dequeued; 0 when not, said on standard error. Streaming thread, outside the gate.
int cameraDeviceWaitForFrame(int fd);

/// Writes one control of the camera's extension unit. A failure ends the process with status 255 and a message.
/// @param data  len bytes. Any thread.
void cameraDeviceSetXu(int fd, int selector, uint8_t* data, int len);

/// The same without an end of its own. @return 0, or negative with errno set. Any thread.
int cameraDeviceTrySetXu(int fd, int selector, uint8_t* data, int len);
