#include "BaseWriter.h"

#include "Log.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <stdio_ext.h>
#include <utility>

namespace libobrifile {

namespace {
constexpr char sForbiddenByte = 0x7F, sReplacement = '?';

void closeFile(FILE*& file)
{
    if (file != nullptr)
        fclose(std::exchange(file, nullptr));
}

template <class Unsigned>
std::array<uint8_t, sizeof(Unsigned)> littleEndian(Unsigned number)
{
    std::array<uint8_t, sizeof(Unsigned)> bytes;
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(number >> (8 * i));
    return bytes;
}
} // namespace

BaseWriter::BaseWriter(IFileWriterAttributesProvider* provider)
    : m_attributesProvider(provider), m_gpsStatusFile(nullptr), m_w(0), m_h(0), m_nativeBitsPerPixel(0),
      m_file(nullptr), m_recording(false), m_frameNr(0), m_lastCamFrameNr(0xFFFFFFFF)
{
}

BaseWriter::~BaseWriter()
{
    closeFile(m_file);
    closeFile(m_gpsStatusFile);
}

void BaseWriter::CreateBaseFile(std::string path, uint32_t w, uint32_t h, uint8_t bbp)
{
    m_w = w;
    m_h = h;
    m_nativeBitsPerPixel = bbp;
    m_filePath = path;
    closeFile(m_file);
    m_file = m_writeBehind.Open(path);
    if (m_file == nullptr)
        Fail("open", m_filePath, strerror(errno));
}

bool BaseWriter::IsRecording()
{
    return m_recording;
}

void BaseWriter::StartRecording()
{
    if (m_recording)
        return;
    m_frameNr = 0;
    if (HasFailed())
        return;
    m_recording = true;
    OnRecordHeader();
    if (!SettleFile()) {
        // An empty file is no recording; half a header could be taken for one.
        m_recording = false;
        CutBackTo(0);
        closeFile(m_file);
        return;
    }
    if (m_file != nullptr && !m_writeBehind.FallBehind())
        libobribase::logString("W No memory to bridge a slow disk: frames wait for it");
    if (m_gpsStatusFilePath.empty())
        return;
    m_gpsStatusFile = fopen(m_gpsStatusFilePath.c_str(), "w");
    if (m_gpsStatusFile == nullptr)
        libobribase::logStringInt("E Failed to open CSV file for GPS status recording", 0);
}

void BaseWriter::StopRecording()
{
    if (std::exchange(m_recording, false))
        OnRecordTrailer();
    if (m_file != nullptr && fclose(std::exchange(m_file, nullptr)) != 0)
        Fail("write", m_filePath, strerror(errno));
    closeFile(m_gpsStatusFile);
}

uint32_t BaseWriter::GetFrameNr()
{
    return m_frameNr;
}

void BaseWriter::RecordFrame(uint8_t* frameData, uint64_t length, uint64_t datetime)
{
    if (HasFailed())
        return;
    OnRecordFrame(frameData, length, datetime);
    if (HasFailed())
        StopRecording();
    else
        ++m_frameNr;
}

void BaseWriter::WriteUint8(uint8_t v)
{
    WriteBytes(&v, sizeof v);
}

void BaseWriter::WriteUint16(uint16_t v)
{
    WriteBytes(littleEndian(v).data(), sizeof v);
}

void BaseWriter::WriteUint32(uint32_t v)
{
    WriteBytes(littleEndian(v).data(), sizeof v);
}

void BaseWriter::WriteUint64(uint64_t v)
{
    WriteBytes(littleEndian(v).data(), sizeof v);
}

void BaseWriter::WriteBytes(uint8_t* p, uint64_t length)
{
    if (m_file == nullptr) {
        Fail("write", m_filePath, "no file is open");
        return;
    }
    if (fwrite(p, 1, length, m_file) != length)
        Fail("write", m_filePath, strerror(errno));
}

void BaseWriter::WriteFloat(float f)
{
    WriteUint32(std::bit_cast<uint32_t>(f));
}

void BaseWriter::WriteTag(std::string name, std::string value)
{
    WriteUtf8(name, false);
    WriteUtf8(value, false);
}

void BaseWriter::WriteUtf8(std::string s, bool skipLen)
{
    s.resize(std::min(s.size(), sLongestText));
    if (!skipLen)
        WriteUint16(static_cast<uint16_t>(s.size()));
    for (const char byte : s)
        WriteUint8(static_cast<uint8_t>(byte == sForbiddenByte ? sReplacement : byte));
}

void BaseWriter::SetRecordGpsStatusFilePath(std::string path)
{
    m_gpsStatusFilePath = std::move(path);
}

uint64_t BaseWriter::GetCurPosition()
{
    if (m_file == nullptr)
        return 0;
    FlushFile();
    return static_cast<uint64_t>(ftello64(m_file));
}

void BaseWriter::SetCurPosition(uint64_t p)
{
    if (m_file == nullptr)
        return;
    FlushFile();
    if (fseeko64(m_file, static_cast<off64_t>(p), SEEK_SET) != 0)
        Fail("write", m_filePath, strerror(errno));
}

bool BaseWriter::FlushFile()
{
    if (m_file == nullptr)
        return !HasFailed();
    fflush(m_file);
    const int error = m_writeBehind.Error();
    if (error != 0)
        Fail("write", m_filePath, strerror(error));
    return error == 0;
}

bool BaseWriter::SettleFile()
{
    FlushFile();
    if (m_file != nullptr)
        m_writeBehind.Drain();
    return FlushFile();
}

bool BaseWriter::HasWaitedForDisk()
{
    return m_writeBehind.HasWaited();
}

uint64_t BaseWriter::WrittenUpTo()
{
    return m_writeBehind.WrittenUpTo();
}

void BaseWriter::CutBackTo(uint64_t position)
{
    if (m_file == nullptr)
        return;
    // What could not be written is still buffered and would be tried again, in the wrong place.
    __fpurge(m_file);
    clearerr(m_file);
    m_writeBehind.CutBackTo(position);
}

void BaseWriter::Fail(const char* operation, const std::string& path, const std::string& reason)
{
    if (m_failureText.empty())
        m_failureText = std::string("Failed to ") + operation + " " + path + " (" + reason + ")";
}

} // namespace libobrifile
