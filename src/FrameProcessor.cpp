#include "FrameProcessor.h"

#include "FrameProcessing.h"
#include "FrameProcessor_frame.h"
#include "GpsLogger.h"
#include "Log.h"
#include "TextFormat.h"
#include "Trouble.h"

#include "BaseWriter.h"
#include "FitsWriter.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

using namespace libobribase;

Histogram* m_histogram = new Histogram;
int m_updateHistogram = 0;
int m_photometryTargetX = 0;
int m_photometryTargetY = 0;

namespace {

constexpr size_t sMaxPixels = size_t{sMaxFrameWidth} * sMaxFrameHeight;
constexpr size_t sSumEntries = 0x4000000 / sizeof(uint32_t);
constexpr size_t sMeanEntries = 0x2000000 / sizeof(uint16_t);
constexpr int sPhotometrySize = 16, sPhotometryDepth = 8;
constexpr int sStatisticsFrames = 100;

double dtMicrosecAvg[7] = {}; // sums of what the stages took
int dtMicrosecAvgCtr = 0;     // frames in them

template <class T>
T* allocateZeroed(size_t entries)
{
    // The system hands out zero pages only when they are touched, so a buffer that is not used costs nothing.
    auto* memory = static_cast<T*>(calloc(entries, sizeof(T)));
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

// Bytes that a whole frame has in the driver's buffer: what the format says, and what the decoder reads.
int frameBytes(int width, int compressedWidth, int height)
{
    const int rowBytes = compressedWidth * 2;
    return height * (compressedWidth < width ? std::max(rowBytes, (width + 7) / 8 * 12) : rowBytes);
}

template <size_t N>
void addToStatistics(const std::array<double, N>& dtMicrosec)
{
    static_assert(N == std::size(dtMicrosecAvg));
    for (size_t i = 0; i < N; ++i)
        dtMicrosecAvg[i] += dtMicrosec[i];
    if (++dtMicrosecAvgCtr < sStatisticsFrames)
        return;
    std::string line = "I PERF";
    for (double& sum : dtMicrosecAvg) {
        line += ' ' + formatFixed(sum / dtMicrosecAvgCtr, 1, 4);
        sum = 0;
    }
    dtMicrosecAvgCtr = 0;
    logString(line);
}

} // namespace

FrameProcessor::FrameProcessor(const SFrameDevice& device)
    : m_decodedFrame(allocateZeroed<uint32_t>(sMaxPixels / 2)), m_previewFrame(allocateZeroed<uint32_t>(sMaxPixels)),
      m_darkFrame(allocateZeroed<uint16_t>(2 * sMaxPixels)), m_flatFrame(allocateZeroed<uint16_t>(2 * sMaxPixels)),
      m_photometryBuffer(new PhotometryBuffer(sPhotometrySize, sPhotometrySize, sPhotometryDepth)),
      m_binaryOverlay(new BinaryOverlay), m_camStatus(new CameraStatus),
      m_fitsFrameForRecording(new uint32_t[sSumEntries]), m_tmpFrame(new uint16_t[sMeanEntries]), m_device(device)
{
}

FrameProcessor::~FrameProcessor()
{
    delete m_videoWriter;
    delete m_fitsWriter;
    delete m_fitsRecordingJob;
    delete m_camStatus;
    delete m_binaryOverlay;
    delete m_photometryBuffer;
    delete[] m_fitsFrameForRecording;
    delete[] m_tmpFrame;
    for (void* buffer : {static_cast<void*>(m_decodedFrame), static_cast<void*>(m_previewFrame),
                         static_cast<void*>(m_darkFrame), static_cast<void*>(m_flatFrame)})
        free(buffer);
}

void FrameProcessor::StreamStarted()
{
    m_previousFrameKnown = false;
    m_failureSaid = false;
}

void FrameProcessor::SetShowPixelOverflow(bool show)
{
    storeShared(m_showPixelOverflow, show);
}

void FrameProcessor::ProcessFrame(SVideoDevice* cam)
{
    SFrame frame(*cam);
    cam->frameNr = static_cast<int32_t>(static_cast<uint32_t>(cam->frameNr) + 1);
    const int bytesUsed = m_device.dequeue(cam->fd, &cam->videomem, &frame.raw);
    if (frame.raw && bytesUsed > 0 && isUsable(frame, bytesUsed)) {
        try {
            processUsableFrame(frame);
        } catch (const std::exception& failure) {
            // No writer's, they are caught where they write: a recording goes on with the next frame.
            if (!std::exchange(m_failureSaid, true))
                sayTrouble('E', std::string("Frame processing failed: ") + failure.what());
        }
    }
    m_device.release(cam->fd, &cam->videomem);
}

bool FrameProcessor::isUsable(const SFrame& frame, int bytesUsed)
{
    const int w = frame.width, h = frame.height;
    if (frame.compressedWidth < 1 || frame.compressedWidth > w || w > sMaxFrameWidth || h < 1 || h > sMaxFrameHeight) {
        if (w != m_refusedWidth || h != m_refusedHeight)
            sayTrouble('W', "Frames of " + std::to_string(w) + " x " + std::to_string(h) +
                                " are refused: the buffers hold 1 x 1 to 1624 x 1240 pixels");
        m_refusedWidth = w;
        m_refusedHeight = h;
        return false;
    }
    const int needed = frameBytes(w, frame.compressedWidth, h);
    if (bytesUsed >= needed) {
        m_shortFrameSaid = false;
        return true;
    }
    // Its last row would carry another frame's times.
    if (!m_shortFrameSaid)
        sayTrouble('W', "A short frame counts as no frame: " + std::to_string(bytesUsed) + " of " +
                            std::to_string(needed) + " bytes");
    m_shortFrameSaid = true;
    return false;
}

void FrameProcessor::processUsableFrame(SFrame& frame)
{
    adoptGeometry(frame);
    FrameProcessing processing(m_width, m_height, m_isCompressed, decoded(), m_darkFrame, m_flatFrame);
    processing.DecodeFrame(frame.raw);
    readOverlay(processing, frame);
    convertCameraTime(frame);
    feedGpsLog();
    frame.endStage();

    correct(processing, frame);

    feedPhotometry();
    writeFitsFiles();
    frame.endStage();

    recordVideo(frame);
    frame.endStage();

    buildPreview(processing, frame);
    drawCrossHair();
    handOverPreview(frame);
    frame.endStage();

    addToStatistics(frame.dtMicrosec);
    m_previousFrameNumber = frame.currentFrameNumber;
    publishStatus(frame);
}

void FrameProcessor::adoptGeometry(const SFrame& frame)
{
    if (frame.width != m_width || frame.height != m_height)
        endWhatHasOtherGeometry(frame.width, frame.height);
    m_isCompressed = frame.isCompressed();
    m_width = frame.width;
    m_height = frame.height;
}

void FrameProcessor::endWhatHasOtherGeometry(int width, int height)
{
    const std::string change = "the image size changed to " + std::to_string(width) + " x " + std::to_string(height);
    if (m_videoWriter) {
        sayTrouble('W', "The recording ends: " + change);
        closeVideoWriter();
    }
    if (m_fitsRecordingJob)
        dropFits("The averaged FITS file is given up: " + change);
}

void FrameProcessor::readOverlay(FrameProcessing& processing, SFrame& frame)
{
    processing.UpdateBinaryOverlay(m_binaryOverlay);
    processing.UpdateCameraStatus(m_binaryOverlay, m_camStatus);
    m_hasGpsFix = (m_binaryOverlay->m_fixState & 3) == 3;

    const int shouldUseTimeRes100us = 0;
    const int isCamTimeRes100us = m_camStatus->m_highResolution != 0;
    // Nothing is switched, and the line comes with every such frame, on purpose.
    if (isCamTimeRes100us != shouldUseTimeRes100us)
        logStringInt("I Camera high resolution mode switching to ", shouldUseTimeRes100us);

    frame.currentFrameNumber = m_binaryOverlay->m_frameId;
    countFrame(frame.currentFrameNumber);
}

void FrameProcessor::countFrame(uint32_t frameId)
{
    ++m_framesSeen;
    if (!m_binaryOverlay->m_isValid) {
        ++m_overlayErrors;
        ++m_unreadSincePrevious;
        return;
    }
    // Modulo 2^32, as the camera counts. A counter that stands still or jumps back means no loss.
    const uint32_t lost = frameId - m_previousReadFrameId - m_unreadSincePrevious - 1;
    if (m_previousFrameKnown && lost < 0x80000000u) {
        m_framesLost += lost;
        if (m_videoWriter && m_videoWriter->GetFrameNr() != 0)
            m_recordingStatus.framesLost += lost;
    }
    m_previousFrameKnown = true;
    m_previousReadFrameId = frameId;
    m_unreadSincePrevious = 0;
}

void FrameProcessor::convertCameraTime(SFrame& frame)
{
    unsigned long fileTime = 0;
    if (!fileTime100nsFromYmdHms_2010_2058(&fileTime, &m_binaryOverlay->m_fromTime)) {
        fileTime = 0;
        logStringInt("W Parsing camera timestamp failed, year: ", m_binaryOverlay->m_fromTime.year);
    }
    frame.camTimestampFrom_100ns_01010001 = fileTime + sDotNetTicksOfFileTimeEpoch;
}

void FrameProcessor::feedGpsLog()
{
    CGpsLogger* logger = CGpsLogger::instance();
    const int minute = m_binaryOverlay->m_fromTime.minute;
    if (!logger->IsEnabled() || m_gpsLogLastMinuteNr == minute)
        return;
    m_gpsLogLastMinuteNr = minute;
    logger->Log(m_binaryOverlay);
}

void FrameProcessor::correct(FrameProcessing& processing, SFrame& frame)
{
    if (frame.m_useFpnc)
        processing.CalculateFrameLineAverages();
    frame.endStage();

    const int nofFpncExcludeLines = m_camStatus->m_modeSelect == 2 ? 16 : 0;
    processing.ApplyNoiseDarkFlatProcessing(frame.m_useFpnc, nofFpncExcludeLines, 0, 0); // neither dark nor flat is set
    frame.endStage();

    if (frame.m_pcTimeOverlayEnabled) {
        DateTime now;
        DateTime::Now(&now);
        processing.ApplyPcTimeOverlay(&now);
    }
    frame.endStage();
}

void FrameProcessor::feedPhotometry()
{
    // The target may have been chosen on an image of another size.
    const int maxX = m_width - m_photometryBuffer->width(), maxY = m_height - m_photometryBuffer->height();
    if (maxX < 0 || maxY < 0)
        return;
    const int x = std::clamp(loadShared(m_photometryTargetX), 0, maxX);
    const int y = std::clamp(loadShared(m_photometryTargetY), 0, maxY);
    m_photometryBuffer->Produce(decoded() + static_cast<size_t>(y) * static_cast<size_t>(m_width) + x, m_width);
}

void FrameProcessor::publishStatus(SFrame& frame)
{
    updateRecordingStatus();
    updateStreamStatus([&](SStreamStatus& s) {
        s.framesSeen = m_framesSeen;
        s.framesLost = m_framesLost;
        s.overlayErrors = m_overlayErrors;
        s.overlayText.swap(frame.overlayText);
        s.timeValid = m_binaryOverlay->m_isValid && m_binaryOverlay->m_timeFlag;
        s.fixState = m_camStatus->m_fixState;
        s.satellites = m_camStatus->m_nofSats;
        s.temperatureValid = m_camStatus->m_temperatureValid;
        s.temperature = m_camStatus->m_temperature;
        s.recording = m_recordingStatus;
    });
}
