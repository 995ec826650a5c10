// Starting and stopping recordings, and what the writers ask the frame processor for.

#include "FrameProcessor_frame.h"

#include "ObriCam.h"
#include "ObriVariables.h"
#include "RecordingFiles.h"
#include "TextFormat.h"
#include "Trouble.h"

#include "AdvWriter.h"
#include "FitsHeaderService.h"
#include "FitsSequenceWriter.h"
#include "FitsWriter.h"
#include "ObriFileUtils.h"

#include <algorithm>
#include <cstdio>
#include <memory>

using libobribase::BinaryOverlay;
using libobribase::DateTime;
using libobribase::formatFixed;
using libobrifile::AdvWriter;
using libobrifile::FitsHeaderService;
using libobrifile::FitsSequenceWriter;
using libobrifile::FitsWriter;
using libobrifile::ObriFileUtils;

namespace {

constexpr const char* sAdvPath = "recording.adv";
constexpr const char* sFitsDirectory = "fits";
constexpr uint8_t sBitsPerPixel = 16;
constexpr int sNoTemperature = -999;

void refuse(const std::string& what, const std::string& reason)
{
    sayTrouble('E', what + " was refused: " + reason);
}

// A recording takes its size, and its header what the overlay says, from the latest frame.
bool hasFrameOfPresentSize(int width, int height)
{
    const SVideoDevice& cam = obriCam();
    return width > 0 && height > 0 && (cam.w == 0 || (cam.w == width && cam.h == height));
}

constexpr const char* sNoFrameYet = "no frame of the present image size has come yet";

// Writes the header. False when that failed, which has been said then.
bool begins(libobrifile::BaseWriter& writer)
{
    writer.StartRecording();
    if (!writer.IsRecording())
        refuse("The recording", writer.GetFailureText());
    return writer.IsRecording();
}

std::string fitsPath(int withFrameNumber, libobribase::CameraStatus* status, int width, int height)
{
    const std::string name = ObriFileUtils::CreateFileName("fits", withFrameNumber, 0, status, width, height);
    return freeFitsPath(std::string(sFitsDirectory) + "/" + name);
}

std::string exposureText(const BinaryOverlay& overlay)
{
    char text[32];
    snprintf(text, sizeof text, "%d.%09d", static_cast<int>(overlay.m_exposureSeconds),
             static_cast<int>(overlay.m_exposureNanoseconds));
    return text;
}

} // namespace

void FrameProcessor::StartRecordingAdv()
{
    if (!hasFrameOfPresentSize(m_width, m_height))
        return refuse("The recording", sNoFrameYet);
    closeVideoWriter();
    const std::string obstacle = keepEarlierFile(sAdvPath);
    if (!obstacle.empty())
        return refuse("The recording", obstacle);
    auto writer = std::make_unique<AdvWriter>(this);
    writer->CreateAdvFile(sAdvPath, static_cast<uint32_t>(m_width), static_cast<uint32_t>(m_height), sBitsPerPixel, {},
                          0);
    if (begins(*writer))
        recordingBegan(writer.release(), sAdvPath);
}

void FrameProcessor::StartRecordingFits()
{
    printf("fp-startRecordingFits\n");
    if (!hasFrameOfPresentSize(m_width, m_height))
        return refuse("The recording", sNoFrameYet);
    const std::string obstacle = makeDirectory(sFitsDirectory);
    if (!obstacle.empty())
        return refuse("The recording", obstacle);
    closeVideoWriter();
    const std::string path = fitsPath(1, m_camStatus, m_width, m_height);
    auto writer = std::make_unique<FitsSequenceWriter>(this);
    writer->CreateFitsSequence(path, static_cast<unsigned>(m_width), static_cast<unsigned>(m_height), sBitsPerPixel);
    if (begins(*writer))
        recordingBegan(writer.release(), FitsSequenceWriter::FramePath(path, 1));
}

void FrameProcessor::StopRecording()
{
    printf("fp-stopRecording\n");
    closeVideoWriter();
}

void FrameProcessor::StartRecordingSingleFits(char)
{
    printf("fp-startRecordingSingleFits\n");
    if (m_fitsWriter)
        return refuse("The FITS file", "the one asked for before still waits for its frame");
    if (!hasFrameOfPresentSize(m_width, m_height))
        return refuse("The FITS file", sNoFrameYet);
    const std::string obstacle = makeDirectory(sFitsDirectory);
    if (!obstacle.empty())
        return refuse("The FITS file", obstacle);
    delete m_fitsRecordingJob;
    m_fitsRecordingJob = nullptr;
    m_fitsWriter = new FitsWriter(fitsPath(0, m_camStatus, m_width, m_height), this);
    std::fill_n(m_fitsFrameForRecording, static_cast<size_t>(m_width) * static_cast<size_t>(m_height), 0U);
    m_fitsHeaderWritten = 0;
}

void FrameProcessor::WriteFitsFileStaticHeader()
{
    FitsHeaderService(m_fitsWriter->GetHeader()).WriteFitsHeaderData(m_width, m_height, this);
}

void FrameProcessor::WriteFitsFileDynamicData(uint16_t* pData)
{
    const std::unique_ptr<FitsWriter> writer(m_fitsWriter);
    m_fitsWriter = nullptr;
    writer->WriteImage(pData);
}

void FrameProcessor::GetHeaderAttributes(std::map<std::string, std::string>& attribs)
{
    const ObriVariables& names = ObriVariables::instance();
    attribs["RECORDER-SOFTWARE"] = "ObriCamControl";
    attribs["RECORDER-SOFTWARE-VERSION"] = "0.1-alpha1";
    attribs["CAMERA-VENDOR-NAME"] = "Kantel Optowerk GmbH";
    attribs["CAMERA-DRIVER-NAME"] = "UVC";
    attribs["ACQUISITION-DELAY"] = "0.0";
    attribs["COMMENT"] = "";
    attribs["AUTHOR"] = names.observerName;
    attribs["OBSERVER"] = names.observerName;
    attribs["TELESCOP"] = names.telescopeName;
    attribs["INSTRUME"] = "OBRI+CAM";
    attribs["BINNING-X"] = std::to_string(m_camStatus->m_binningX);
    attribs["BINNING-Y"] = std::to_string(m_camStatus->m_binningY);
    attribs["WIDTH"] = std::to_string(m_width);
    attribs["HEIGHT"] = std::to_string(m_height);
    attribs["OBJECT"] = names.objectName;
    attribs["OBJNAME"] = names.objectName;
}

void FrameProcessor::GetFrameAttributes(std::map<std::string, std::string>& attribs)
{
    attribs["LATITUDE"] = formatFixed(m_camStatus->m_latitudeE7 * 1e-7, 7);
    attribs["LONGITUDE"] = formatFixed(m_camStatus->m_longitudeE7 * 1e-7, 7);
    attribs["ALTITUDE"] = formatFixed(m_camStatus->m_altitudeMm * 0.001, 1);
    if (!m_binaryOverlay)
        return;
    int temperature = sNoTemperature;
    if (m_binaryOverlay->GetTemperature(&temperature))
        attribs["CCD-TEMP"] = std::to_string(temperature) + ".0";
    attribs["DATE-OBS"] = BinaryOverlay::FormatDateTime(&m_binaryOverlay->m_fromTime);
    attribs["EXPTIME"] = exposureText(*m_binaryOverlay);
}

uint32_t FrameProcessor::GetCameraFrameId()
{
    return m_binaryOverlay ? m_binaryOverlay->m_frameId : 0;
}

uint8_t FrameProcessor::GetGpsNofSatellites()
{
    return m_binaryOverlay ? m_binaryOverlay->m_nofSats : 0;
}

uint8_t FrameProcessor::GetGpsFixState()
{
    return m_binaryOverlay ? m_binaryOverlay->m_fixState : 0;
}

uint16_t FrameProcessor::GetGpsDilusionOfPrecisionGptvh(int ix)
{
    return m_binaryOverlay ? m_binaryOverlay->m_dop[ix] : 0;
}

uint32_t FrameProcessor::GetGpsDilusionOfPrecisionTime()
{
    return m_binaryOverlay ? m_binaryOverlay->m_dopTime : 0;
}

int FrameProcessor::IsTimeValid()
{
    return m_binaryOverlay ? m_binaryOverlay->m_timeFlag : 0;
}

uint16_t FrameProcessor::GetSensorTemperature()
{
    int temperature = 0;
    if (m_binaryOverlay)
        m_binaryOverlay->GetTemperature(&temperature);
    return static_cast<uint16_t>(temperature);
}

void FrameProcessor::GetDateTimeFrom(DateTime* dt)
{
    *dt = m_binaryOverlay ? m_binaryOverlay->m_fromTime : DateTime();
}

void FrameProcessor::GetDateTimeTo(DateTime* dt)
{
    *dt = m_binaryOverlay ? m_binaryOverlay->m_toTime : DateTime();
}
