#pragma once

#include "device.h"
#include "FrameDevice.h"
#include "FrameProcessor.h"

#include "../base/OverlayRow.h"
#include "../base/TemporaryFolder.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <new>
#include <utility>
#include <vector>

/// What the pretended driver has and what the pretended window got.
struct SPretended {
    std::vector<uint16_t> raw;
    bool hasBuffer = true;
    int bytesUsed = 0;
    int released = 0, histograms = 0;
    const uint32_t* preview = nullptr; ///< the frame processor's own
    bool previewFails = false;
};
inline SPretended sPretended;

inline const SFrameDevice sPretendedDevice{[](int, SVideoMemory*, void** frame) {
                                               *frame = sPretended.hasBuffer ? sPretended.raw.data() : nullptr;
                                               return sPretended.bytesUsed;
                                           },
                                           [](int, SVideoMemory*) { ++sPretended.released; },
                                           [](uint32_t* frame, int) {
                                               if (sPretended.previewFails)
                                                   throw std::bad_alloc();
                                               sPretended.preview = frame;
                                           },
                                           [] { ++sPretended.histograms; }};

/// A frame processor whose state a test can see.
class OpenFrameProcessor : public FrameProcessor {
public:
    OpenFrameProcessor() : FrameProcessor(sPretendedDevice) {}
    using FrameProcessor::decoded;
    using FrameProcessor::m_binaryOverlay;
    using FrameProcessor::m_processedFitsFiles;
    using FrameProcessor::m_width;
};

/// Frames of a camera, made of decoded pixels and an overlay, going through a frame processor in a folder of its own.
class FrameProcessorSite : public testing::Test {
protected:
    FrameProcessorSite()
    {
        sPretended = {};
        setSize(240, 64);
    }
    ~FrameProcessorSite() override { m_histogram = m_programsHistogram; }

    void setSize(int width, int height)
    {
        cam.w = cam.wCompact = width;
        cam.h = height;
        pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), 0x4000);
    }
    uint16_t& pixel(int x, int y) { return pixels[static_cast<size_t>(y) * static_cast<size_t>(cam.w) + x]; }

    /// Sends the pixels as plain words, the overlay in their last row.
    void frames(int count = 1)
    {
        std::copy_n(overlay.row(), std::min(cam.w, 128), &pixel(0, cam.h - 1));
        sPretended.raw.clear();
        for (const uint16_t p : pixels)
            sPretended.raw.push_back(static_cast<uint16_t>(p >> 8 | (p >> 4 & 0xF) << 8));
        sPretended.bytesUsed = static_cast<int>(sPretended.raw.size() * 2);
        for (int i = 0; i < count; ++i)
            process();
    }
    void process() { processor.ProcessFrame(&cam); }
    uint32_t previewAt(int x, int y) const { return sPretended.preview[static_cast<size_t>(y * cam.w + x)]; }

    template <class Action>
    static std::string saidBy(Action action)
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder folder;
    SVideoDevice cam{};
    std::vector<uint16_t> pixels; ///< 12 significant bits each, in the upper ones
    OverlayRow overlay{0, 5};     ///< a layout without checksum
    OpenFrameProcessor processor;

private:
    libobribase::Histogram m_ownHistogram; // what one test drags is not another's
    libobribase::Histogram* m_programsHistogram = std::exchange(m_histogram, &m_ownHistogram);
};
