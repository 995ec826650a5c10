#include "viewer.h"

#include "FrameDevice.h"
#include "MainWindow.h"
#include "ObriApplication.h"
#include "ObriCam.h"
#include "SharedFlag.h"

using libobribase::loadShared;

// Nothing else stands in this file: a test or benchmark whose frame processors bring their own device links neither
// camera nor window. Initialised without code, for the program's frame processor is made before main runs.
constinit const SFrameDevice sFrameDevice{
    .dequeue = dequeueFrameBuffer,
    .release = releaseFrameBuffer,
    .render = renderFrameInViewer,
    .histogramChanged = invalidateHistogram,
};

void renderFrameInViewer(uint32_t* frame, int width)
{
    if (MainWindow* window = loadShared(gMainWindow))
        window->renderPreviewFrame(frame, width, obriCam().h);
}

void invalidateHistogram()
{
    if (MainWindow* window = loadShared(gMainWindow))
        window->invalidateHistogram();
}
