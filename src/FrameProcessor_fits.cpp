#include "FrameProcessor_frame.h"
#include "Trouble.h"

#include "FitsHeaderData.h"
#include "FitsWriter.h"

#include <exception>

using namespace libobribase;

namespace {

constexpr int sCancelRequested = 1, sCancelled = 2;
constexpr int sMaxFramesToAverage = 65537; // as many full-scale pixels as a 32-bit sum holds

struct SImageType {
    char kind;
    const char* name;
    bool tellsHistory;
};
constexpr SImageType sImageTypes[] = {
    {'P', "Light Frame", false},
    {'D', "Dark Frame", true},
    {'F', "Flat Frame", true},
};

const SImageType& imageTypeOf(char kind)
{
    for (const SImageType& type : sImageTypes)
        if (type.kind == kind)
            return type;
    return sImageTypes[0];
}

} // namespace

bool FrameProcessor::StartRecordingAveragedFits(char kind, int frames)
{
    if (frames < 1 || frames > sMaxFramesToAverage) {
        sayTrouble('E', "An averaged FITS file of " + std::to_string(frames) + " frames was refused: 1 to " +
                            std::to_string(sMaxFramesToAverage) + " can be averaged");
        return false;
    }
    const libobrifile::FitsWriter* pending = m_fitsWriter;
    StartRecordingSingleFits(kind);
    if (!m_fitsWriter || m_fitsWriter == pending)
        return false;
    m_fitsRecordingJob = new SFitsRecordingJob{.kind = kind, .framesToAverage = frames, .isActive = 1};
    return true;
}

void FrameProcessor::CancelRecordingAveragedFits()
{
    if (m_fitsRecordingJob)
        m_fitsRecordingJob->state = sCancelRequested;
}

void FrameProcessor::writeFitsFiles()
{
    if (!m_fitsWriter)
        return;
    try {
        if (!m_fitsRecordingJob)
            writeSingleFits();
        else if (m_fitsRecordingJob->isActive)
            averageFits();
    } catch (const std::exception& failure) {
        dropFits(std::string("The FITS file was not written: ") + failure.what());
    }
}

void FrameProcessor::writeSingleFits()
{
    WriteFitsFileStaticHeader();
    const std::string path = m_fitsWriter->GetFilePath();
    WriteFitsFileDynamicData(decoded());
    m_processedFitsFiles[path] = 1;
}

void FrameProcessor::averageFits()
{
    SFitsRecordingJob& job = *m_fitsRecordingJob;
    if (job.state == sCancelRequested) {
        job.state = sCancelled;
        dropFitsJob();
        return;
    }
    if (!m_fitsHeaderWritten)
        writeAveragedHeader();
    sumFrame();
    if (++job.framesSummed == job.framesToAverage)
        finishAverage();
}

void FrameProcessor::writeAveragedHeader()
{
    WriteFitsFileStaticHeader();
    const SImageType& type = imageTypeOf(m_fitsRecordingJob->kind);
    libobrifile::FitsHeaderData* header = m_fitsWriter->GetHeader();
    header->SetValueForKey("IMAGETYP", type.name);
    if (type.tellsHistory)
        header->SetValueForKey("HISTORY", "AVG_" + std::to_string(m_fitsRecordingJob->framesToAverage));
    m_fitsHeaderWritten = 1;
}

void FrameProcessor::sumFrame()
{
    const uint16_t* pixels = decoded();
    const size_t count = static_cast<size_t>(m_width) * static_cast<size_t>(m_height);
    for (size_t i = 0; i < count; ++i)
        m_fitsFrameForRecording[i] += pixels[i];
}

void FrameProcessor::finishAverage()
{
    const auto total = static_cast<uint32_t>(m_fitsRecordingJob->framesToAverage);
    const size_t count = static_cast<size_t>(m_width) * static_cast<size_t>(m_height);
    for (size_t i = 0; i < count; ++i)
        m_tmpFrame[i] = static_cast<uint16_t>(m_fitsFrameForRecording[i] / total);
    const std::string path = m_fitsWriter->GetFilePath();
    WriteFitsFileDynamicData(m_tmpFrame);
    dropFitsJob();
    m_processedFitsFiles[path] = 1;
}

void FrameProcessor::dropFitsJob()
{
    delete m_fitsRecordingJob;
    m_fitsRecordingJob = nullptr;
    delete m_fitsWriter;
    m_fitsWriter = nullptr;
}

void FrameProcessor::dropFits(const std::string& line)
{
    sayTrouble('E', line);
    dropFitsJob();
}
