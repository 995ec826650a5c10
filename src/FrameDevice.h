#pragma once

#include <cstdint>

struct SVideoMemory;

/// Where the frame processor takes frames from and where it hands its pictures to.
struct SFrameDevice {
    /// Takes the oldest filled buffer; returns the bytes used in it, 0 or less when there is none.
    int (*dequeue)(int fd, SVideoMemory* memory, void** frame);
    /// Gives the buffer taken last back.
    void (*release)(int fd, SVideoMemory* memory);
    /// Shows a preview image of the frame's height, width words a row; copied before the call returns.
    void (*render)(uint32_t* frame, int width);
    /// There are bins to draw.
    void (*histogramChanged)();
};

/// The camera and the window.
extern const SFrameDevice sFrameDevice;
