#include "FrameDevice.h"

#include "streaming.h"
#include "videomem.h"

// In a file of its own: a test or benchmark that brings its own device links neither camera nor window.
constinit const SFrameDevice sFrameDevice{
    .dequeue = dequeueFrameBuffer,
    .release = releaseFrameBuffer,
    .render = renderFrameInViewer,
    .histogramChanged = invalidateHistogram,
};
