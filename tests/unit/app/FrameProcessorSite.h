#pragma once

#include "device.h"
#include "FrameDevice.h"
#include "FrameProcessor.h"
#include "Log.h"

#include "../base/OverlayRow.h"
#include "FilesOnDisk.h"

#include "BaseWriter.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <new>
#include <vector>

/// What the pretended driver has and what the pretended window got.
struct SPretended {
    std::vector<uint16_t> raw;
    bool hasBuffer = true;
    int bytesUsed = 0;
    int released = 0, histograms = 0;
    std::vector<uint32_t> preview;
    bool previewFails = false;
    int previewWidth = 0;
    size_t previewPixels = 0;
};
inline SPretended sPretended;

inline const SFrameDevice sPretendedDevice{[](int, SVideoMemory*, void** frame) {
                                               *frame = sPretended.hasBuffer ? sPretended.raw.data() : nullptr;
                                               return sPretended.bytesUsed;
                                           },
                                           [](int, SVideoMemory*) { ++sPretended.released; },
                                           [](uint32_t* frame, int width) {
                                               if (sPretended.previewFails)
                                                   throw std::bad_alloc();
                                               sPretended.previewWidth = width;
                                               sPretended.preview.assign(frame, frame + sPretended.previewPixels);
                                           },
                                           [] { ++sPretended.histograms; }};

/// A frame processor whose state a test can see.
class OpenFrameProcessor : public FrameProcessor {
public:
    OpenFrameProcessor() : FrameProcessor(sPretendedDevice) {}
    using FrameProcessor::decoded;
    using FrameProcessor::m_binaryOverlay;
    using FrameProcessor::m_firstFrameDatetime;
    using FrameProcessor::m_firstFrameGpsPrecisionMeters;
    using FrameProcessor::m_lastFrameDatetime;
    using FrameProcessor::m_photometryBuffer;
    using FrameProcessor::m_processedFitsFiles;
    using FrameProcessor::m_recordingGpsNofSamples;
    using FrameProcessor::m_recordingGpsSumHeightM;
    using FrameProcessor::m_recordingGpsSumLatE7;
    using FrameProcessor::m_recordNthFrame;
    using FrameProcessor::m_stopRecording;
    using FrameProcessor::m_width;
    using FrameProcessor::recordingBegan;
};

/// Frames of a camera, made of decoded pixels and an overlay, going through a frame processor in a folder of its own.
class FrameProcessorSite : public testing::Test {
protected:
    FrameProcessorSite()
    {
        sPretended = {};
        setSize(240, 64);
    }

    void setSize(int width, int height)
    {
        cam.w = cam.wCompact = width;
        cam.h = height;
        pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), 0x4000);
    }
    uint16_t& pixel(int x, int y) { return pixels[static_cast<size_t>(y) * static_cast<size_t>(cam.w) + x]; }

    /// Sends the pixels as plain words or, where the camera is asked for fewer words than pixels, packed; the overlay
    /// in their last row.
    void frame()
    {
        std::copy_n(overlay.row(), std::min(cam.w, 128), &pixel(0, cam.h - 1));
        sPretended.raw.clear();
        if (cam.wCompact < cam.w)
            for (size_t i = 0; i + 8 <= pixels.size(); i += 8)
                packGroup(&pixels[i]);
        else
            for (const uint16_t p : pixels)
                sPretended.raw.push_back(static_cast<uint16_t>(p >> 8 | (p >> 4 & 0xF) << 8));
        sPretended.bytesUsed = static_cast<int>(sPretended.raw.size() * 2);
        process();
    }
    /// Eight pixels in six words.
    static void packGroup(const uint16_t* p)
    {
        const int words[] = {p[0] | (p[2] >> 4 & 0xF),
                             p[1] | (p[3] >> 4 & 0xF),
                             (p[2] & 0xFF00) | (p[4] >> 4 & 0xFF),
                             (p[3] & 0xFF00) | (p[5] >> 4 & 0xFF),
                             (p[4] & 0xF000) | p[6] >> 4,
                             (p[5] & 0xF000) | p[7] >> 4};
        sPretended.raw.insert(sPretended.raw.end(), std::begin(words), std::end(words));
    }
    void frames(int count)
    {
        for (int i = 0; i < count; ++i)
            frame();
    }
    void process()
    {
        sPretended.previewPixels = static_cast<size_t>(std::max(cam.w * cam.h, 0));
        processor.ProcessFrame(&cam);
    }
    uint32_t previewAt(int x, int y) const { return sPretended.preview[static_cast<size_t>(y * cam.w + x)]; }

    template <class Action>
    static std::string saidBy(Action action)
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }
    /// What an action leaves in the log, between the lines that open and close it.
    template <class Action>
    std::string loggedBy(Action action)
    {
        libobribase::logOpen(".", '/');
        action();
        libobribase::logClose();
        return folder.textOf("obri_app_log_");
    }
    static int countOf(const std::string& text, const std::string& part)
    {
        int count = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++count;
        return count;
    }

    TemporaryFolder folder;
    SVideoDevice cam{};
    std::vector<uint16_t> pixels; ///< 12 significant bits each, in the upper ones
    OverlayRow overlay{0, 5};     ///< a layout without checksum
    OpenFrameProcessor processor;
};
