#pragma once

#include "BinaryOverlay.h"
#include "CameraStatus.h"
#include "FrameDevice.h"
#include "Histogram.h"
#include "IFileWriterAttributesProvider.h"
#include "PhotometryBuffer.h"
#include "StreamStatus.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace libobrifile {
class BaseWriter;
class FitsWriter;
} // namespace libobrifile
namespace libobribase {
class FrameProcessing;
}
struct SVideoDevice;

/// The largest image that the camera sends, in pixels; frames beyond it are refused.
constexpr int sMaxFrameWidth = 1624;
constexpr int sMaxFrameHeight = 1240;

/// An averaged FITS file in the making.
struct SFitsRecordingJob {
    char kind = 0;           ///< 'P' light, 'D' dark, 'F' flat
    int framesToAverage = 0; ///< 1 or more
    int framesSummed = 0;
    int isActive = 0;
    int state = 0; ///< 1: a cancel was requested, 2: it was carried out
};

/// Carries each frame from the driver's buffer through decoding, corrections, recording and preview.
///
/// ProcessFrame runs on the streaming thread. Everything that starts or ends recordings, and StreamStarted, runs
/// on either thread while the frame gate keeps frames out; so neither side needs a lock. Built before main runs.
class FrameProcessor : public libobrifile::IFileWriterAttributesProvider {
public:
    /// @param device  where frames come from and previews go to; kept for the processor's life.
    explicit FrameProcessor(const SFrameDevice& device = sFrameDevice);
    virtual ~FrameProcessor();
    FrameProcessor(const FrameProcessor&) = delete;
    FrameProcessor& operator=(const FrameProcessor&) = delete;

    /// Takes one frame from the driver, works it through and gives the buffer back. Never throws: a writer that
    /// fails ends its own recording, with a line on standard error and in the log. Streaming thread.
    void ProcessFrame(SVideoDevice* cam);

    /// A stream begins: its first frame's counter has no predecessor. Main or streaming thread, inside the gate.
    void StreamStarted();

    /// Marks nearly saturated pixels in the preview. Any thread.
    void SetShowPixelOverflow(bool show);

    // Recording control, inside the gate. Refusals and failures: one line on standard error and in the log.

    void StartRecordingAdv();
    void StartRecordingFits();
    /// Harmless when nothing is recording.
    void StopRecording();
    /// The next frame is written as one FITS file. The type (0 light, 'D' dark, 'F' flat) is not used, on purpose.
    void StartRecordingSingleFits(char fileType);
    /// The mean of the next frames, 1 or more, is written as one FITS file; kind 'P', 'D' or 'F' names the image
    /// type. False when it was refused.
    bool StartRecordingAveragedFits(char kind, int frames);
    /// The next frame drops the averaging job and its file.
    void CancelRecordingAveragedFits();

    /// Any thread.
    bool IsRecording() const { return m_isRecording.load(std::memory_order_acquire); }

    // What the writers ask for, about the frame that is being recorded. Streaming thread, or inside the gate.

    void GetHeaderAttributes(std::map<std::string, std::string>& attribs) override;
    void GetFrameAttributes(std::map<std::string, std::string>& attribs) override;
    uint32_t GetCameraFrameId() override;
    uint8_t GetGpsNofSatellites() override;
    uint8_t GetGpsFixState() override;
    uint16_t GetGpsDilusionOfPrecisionGptvh(int ix) override;
    uint32_t GetGpsDilusionOfPrecisionTime() override;
    int IsTimeValid() override;
    uint16_t GetSensorTemperature() override;
    void GetDateTimeFrom(libobribase::DateTime* dt) override;
    void GetDateTimeTo(libobribase::DateTime* dt) override;

protected:
    int m_width = 0; ///< pixels of the latest frame; 0 before the first
    int m_height = 0;
    int m_isCompressed = 0; ///< the camera sends packed 12-bit lines
    int m_hasGpsFix = 0;
    int m_gpsLogLastMinuteNr = 0;
    bool m_showPixelOverflow = false;
    uint32_t* m_decodedFrame; ///< used as 16-bit samples, 1624 x 1240 of them
    uint32_t* m_previewFrame; ///< 0x00RRGGBB
    uint16_t* m_darkFrame;
    uint16_t* m_flatFrame;
    libobribase::PhotometryBuffer* m_photometryBuffer;
    libobribase::BinaryOverlay* m_binaryOverlay;
    libobribase::CameraStatus* m_camStatus;
    uint32_t* m_fitsFrameForRecording; ///< sums of an averaged FITS file
    uint16_t* m_tmpFrame;              ///< its result
    SFitsRecordingJob* m_fitsRecordingJob = nullptr;
    libobrifile::FitsWriter* m_fitsWriter = nullptr; ///< a pending single or averaged file, owned
    int m_fitsHeaderWritten = 0;
    std::map<std::string, int> m_processedFitsFiles;
    libobrifile::BaseWriter* m_videoWriter = nullptr; ///< the active recording, owned
    int m_stopRecording = 0;
    int m_recordNthFrame = 1;
    int m_nthFrameCounter = 0;
    uint32_t m_previousFrameNumber = 0;
    std::string m_recordingFormat;
    int64_t m_firstFrameDatetime = -1; ///< 100 ns ticks since 1601
    int64_t m_lastFrameDatetime = -1;
    double m_firstFrameGpsPrecisionMeters = 0;
    double m_lastFrameGpsPrecisionMeters = 0;
    uint32_t m_recordingGpsNofSamples = 0;
    int64_t m_recordingGpsSumHeightM = 0;
    int64_t m_recordingGpsSumLatE7 = 0;
    int64_t m_recordingGpsSumLonE7 = 0;
    int m_firstFrameDatetimeValid = 0;
    int m_lastFrameDatetimeValid = 0;

    std::atomic<bool> m_isRecording{false}; ///< what IsRecording answers; set by recordingBegan and closeVideoWriter
    SRecordingStatus m_recordingStatus;
    std::chrono::steady_clock::time_point m_recordingBegin;
    bool m_isSlowDiskSaid = false; ///< of this recording

    uint16_t* decoded() { return reinterpret_cast<uint16_t*>(m_decodedFrame); }

    /// Takes over a writer that is recording frames of m_width x m_height to file: notes it for status and
    /// IsRecording, and clears the sums over a recording.
    void recordingBegan(libobrifile::BaseWriter* writer, const std::string& file);
    /// Stops and frees m_videoWriter; what it could not finish is said like failRecording's line, once. Harmless
    /// without a writer.
    void closeVideoWriter();
    /// Ends the recording because of a fault: the line once on standard error, once as "E " in the log.
    void failRecording(const std::string& line);

    /// Lets the header service fill size, times and attributes of the frame at hand into m_fitsWriter's header.
    void WriteFitsFileStaticHeader();
    /// Writes the image (m_width x m_height) and frees m_fitsWriter, also when the writer throws.
    void WriteFitsFileDynamicData(uint16_t* pData);

private:
    struct SFrame;

    // In the order in which a frame meets them.
    bool isUsable(const SFrame& frame, int bytesUsed);
    void processUsableFrame(SFrame& frame);
    void adoptGeometry(const SFrame& frame);
    void endWhatHasOtherGeometry(int width, int height);
    void readOverlay(libobribase::FrameProcessing& processing, SFrame& frame);
    void countFrame(uint32_t frameId);
    void convertCameraTime(SFrame& frame);
    void feedGpsLog();
    void correct(libobribase::FrameProcessing& processing, SFrame& frame);
    void feedPhotometry();
    void writeFitsFiles();
    void writeSingleFits();
    void averageFits();
    void writeAveragedHeader();
    void sumFrame();
    void finishAverage();
    void dropFitsJob();
    void dropFits(const std::string& line);
    void recordVideo(const SFrame& frame);
    void recordVideoFrame(const SFrame& frame);
    void noteFirstFrame();
    void noteLastFrame();
    void sumGpsPosition();
    void buildPreview(libobribase::FrameProcessing& processing, SFrame& frame);
    void drawCrossHair();
    void fillPreview(int left, int top, int right, int bottom);
    void handOverPreview(const SFrame& frame);
    void updateRecordingStatus();
    void publishStatus(SFrame& frame);

    const SFrameDevice& m_device;
    bool m_previousFrameKnown = false;  ///< m_previousReadFrameId belongs to this stream
    uint32_t m_previousReadFrameId = 0; ///< of the latest frame whose overlay could be read
    uint32_t m_unreadSincePrevious = 0; ///< frames since then whose overlay could not
    uint64_t m_framesSeen = 0;
    uint64_t m_framesLost = 0;
    uint64_t m_overlayErrors = 0;
    int m_refusedWidth = 0; ///< geometry whose refusal has been said
    int m_refusedHeight = 0;
    bool m_shortFrameSaid = false;
    bool m_failureSaid = false; ///< once a stream, lest a fault of every other frame fills the log
};

/// The one histogram, there before main runs.
extern libobribase::Histogram* m_histogram;

// Shared with the window; read and written through loadShared and storeShared.
extern int m_updateHistogram;   ///< 1: there are bins to draw that were not drawn yet
extern int m_photometryTargetX; ///< first pixel of the photometry window
extern int m_photometryTargetY;

/// The single frame processor, created before main runs.
extern FrameProcessor* m_frameProcessor;
