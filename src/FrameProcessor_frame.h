#pragma once

#include "device.h"
#include "FrameProcessor.h"
#include "PerformanceUtil.h"
#include "SharedFlag.h"

#include <array>

/// What is known of the frame at hand. The camera's settings are read once, when the frame begins.
struct FrameProcessor::SFrame {
    static constexpr size_t sStages = 7;

    explicit SFrame(const SVideoDevice& cam)
        : m_useFpnc(libobribase::loadShared(cam.applyNoiseCorrection)),
          m_pcTimeOverlayEnabled(libobribase::loadShared(cam.showPcTime)),
          isInverted(libobribase::loadShared(cam.invertImage)), width(libobribase::loadShared(cam.w)),
          compressedWidth(libobribase::loadShared(cam.wCompact)), height(libobribase::loadShared(cam.h))
    {
        m_perf.Reset();
    }

    /// Ends a stage. Signed: the stopwatch may come out a second short.
    void endStage() { dtMicrosec[m_stage++] = static_cast<double>(static_cast<int64_t>(m_perf.MeasureMicroseconds())); }

    bool isCompressed() const { return compressedWidth < width; }

    const int m_useFpnc;
    const int m_pcTimeOverlayEnabled;
    const int isInverted;
    const int width;           ///< pixels
    const int compressedWidth; ///< 16-bit words that the camera sends for a row
    const int height;

    void* raw = nullptr; ///< the driver's buffer
    uint32_t currentFrameNumber = 0;
    uint64_t camTimestampFrom_100ns_01010001 = 0;
    std::string overlayText;
    std::array<double, sStages> dtMicrosec{}; ///< what each stage took

private:
    libobribase::PerformanceUtil m_perf;
    size_t m_stage = 0;
};
