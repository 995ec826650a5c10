#include "FrameProcessor_frame.h"
#include "Trouble.h"

#include "BaseWriter.h"
#include "Log.h"
#include "StatusViewTexts.h"

#include <exception>
#include <memory>
#include <utility>

using namespace libobribase;

namespace {

int64_t fileTimeOf(DateTime& time, bool* ok)
{
    unsigned long fileTime = 0;
    *ok = fileTime100nsFromYmdHms_2010_2058(&fileTime, &time);
    return *ok ? static_cast<int64_t>(fileTime) : 0;
}

double precisionOf(const BinaryOverlay& overlay)
{
    return overlay.m_fixState & 1 ? overlay.m_accuracyM : 0.0;
}

} // namespace

void FrameProcessor::recordVideo(const SFrame& frame)
{
    if (m_stopRecording) {
        closeVideoWriter();
        m_stopRecording = 0;
    }
    if (!m_videoWriter || ++m_nthFrameCounter < m_recordNthFrame)
        return;
    m_nthFrameCounter = 0;
    try {
        recordVideoFrame(frame);
        if (m_videoWriter->HasWaitedForDisk() && !std::exchange(m_isSlowDiskSaid, true))
            sayTrouble('W', "The disk is too slow for the recording: frames may be lost while it catches up");
        if (m_videoWriter->HasFailed())
            failRecording("The recording ends: " + m_videoWriter->GetFailureText());
    } catch (const std::exception& failure) {
        failRecording(std::string("The recording ends: ") + failure.what());
    }
}

void FrameProcessor::recordVideoFrame(const SFrame& frame)
{
    if (m_videoWriter->GetFrameNr() == 0)
        noteFirstFrame();
    noteLastFrame();
    if (m_binaryOverlay->m_fixState & 1)
        sumGpsPosition();
    const uint64_t bytes = static_cast<uint64_t>(m_height) * static_cast<uint64_t>(m_width) * sizeof(uint16_t);
    m_videoWriter->RecordFrame(reinterpret_cast<uint8_t*>(m_decodedFrame), bytes,
                               frame.camTimestampFrom_100ns_01010001);
}

void FrameProcessor::noteFirstFrame()
{
    bool ok = false;
    m_firstFrameDatetime = fileTimeOf(m_binaryOverlay->m_fromTime, &ok);
    m_firstFrameDatetimeValid = m_binaryOverlay->m_isValid && m_binaryOverlay->m_timeFlag && ok;
    m_firstFrameGpsPrecisionMeters = precisionOf(*m_binaryOverlay);
    m_recordingFormat = m_videoWriter->GetFormatName();
}

void FrameProcessor::noteLastFrame()
{
    bool ok = false;
    m_lastFrameDatetime = fileTimeOf(m_binaryOverlay->m_toTime, &ok);
    m_lastFrameDatetimeValid = m_binaryOverlay->m_isValid && m_binaryOverlay->m_timeFlag && ok;
    m_lastFrameGpsPrecisionMeters = precisionOf(*m_binaryOverlay);
}

void FrameProcessor::sumGpsPosition()
{
    m_recordingGpsNofSamples += 1;
    m_recordingGpsSumHeightM += (int64_t{m_binaryOverlay->m_altitudeMm} + 500) / 1000;
    m_recordingGpsSumLatE7 += m_binaryOverlay->m_latitudeE7;
    m_recordingGpsSumLonE7 += m_binaryOverlay->m_longitudeE7;
}

void FrameProcessor::recordingBegan(libobrifile::BaseWriter* writer, const std::string& file)
{
    m_videoWriter = writer;
    m_nthFrameCounter = 0;
    m_isSlowDiskSaid = false;
    m_recordingGpsNofSamples = 0;
    m_recordingGpsSumHeightM = m_recordingGpsSumLatE7 = m_recordingGpsSumLonE7 = 0;
    m_recordingStatus = {};
    m_recordingStatus.active = true;
    m_recordingStatus.format = writer->GetFormatName();
    m_recordingStatus.file = file;
    m_recordingStatus.bytesPerFrame = static_cast<uint64_t>(m_width) * static_cast<uint64_t>(m_height) * 2;
    m_recordingBegin = std::chrono::steady_clock::now();
    m_isRecording.store(true, std::memory_order_release);
    updateStreamStatus([this](SStreamStatus& s) { s.recording = m_recordingStatus; });
}

void FrameProcessor::closeVideoWriter()
{
    const std::unique_ptr<libobrifile::BaseWriter> writer(m_videoWriter);
    if (!writer)
        return;
    updateRecordingStatus();
    m_videoWriter = nullptr;
    const bool saidBefore = writer->HasFailed();
    try {
        writer->StopRecording();
        if (writer->HasFailed() && !saidBefore)
            sayTrouble('E', "The recording was not completed: " + writer->GetFailureText());
    } catch (const std::exception& failure) {
        sayTrouble('E', std::string("The recording was not completed: ") + failure.what());
    }
    // Fewer than before when the disk did not take the last of them.
    m_recordingStatus.frames = writer->GetFrameNr();
    m_recordingStatus.bytesWritten = m_recordingStatus.frames * m_recordingStatus.bytesPerFrame;
    m_recordingStatus.active = false;
    m_isRecording.store(false, std::memory_order_release);
    updateStreamStatus([this](SStreamStatus& s) { s.recording = m_recordingStatus; });
    logString("I " + totalsText(m_recordingStatus));
}

void FrameProcessor::failRecording(const std::string& line)
{
    sayTrouble('E', line);
    closeVideoWriter();
}

void FrameProcessor::updateRecordingStatus()
{
    if (!m_videoWriter)
        return;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_recordingBegin;
    SRecordingStatus& r = m_recordingStatus;
    r.frames = m_videoWriter->GetFrameNr();
    r.seconds = passed.count();
    r.bytesWritten = r.frames * r.bytesPerFrame;
}
