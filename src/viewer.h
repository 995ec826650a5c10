#pragma once

#include <cstdint>

// What the frame processor pushes to the window, if there is one. Streaming thread, inside a frame.

/// @param frame  preview image of the height in force, width words a row; copied before the call returns.
void renderFrameInViewer(uint32_t* frame, int width);
void invalidateHistogram();
