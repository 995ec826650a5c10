// One frame record of an ADV file.

#include "AdvWriter.h"

#include "AdvFormat.h"
#include "DateTime.h"
#include "lag1_compressor.h"

#include <algorithm>

namespace libobrifile {

namespace {
constexpr float sNoTemperature = -999.0F;
constexpr int sDopKinds = ADV_STATUS_COUNT - ADV_GDOP;

// 100 ns since 0001-01-01. A time outside the calendar gives what the conversion leaves, the Unix epoch.
uint64_t ticksOf(libobribase::DateTime time)
{
    unsigned long fileTime = 0;
    libobribase::fileTime100nsFromYmdHms_2010_2058(&fileTime, &time);
    return fileTime + libobribase::sDotNetTicksOfFileTimeEpoch;
}

// Nanoseconds since 2010-01-01, modulo 2^64.
uint64_t advTime(uint64_t ticks)
{
    return (ticks - sTicksOfAdvEpoch) * sNanosecondsPerTick;
}

// The code's upper bits as 1/256 degree, unsigned.
float temperatureOf(uint16_t code)
{
    return (code & 1) != 0 ? static_cast<float>((code & 0xFFFE) * 0.00390625) : sNoTemperature;
}
} // namespace

void AdvWriter::OnRecordFrame(uint8_t* frameData, uint64_t length, uint64_t datetime01010001)
{
    libobribase::DateTime from, to;
    m_attributesProvider->GetDateTimeFrom(&from);
    m_attributesProvider->GetDateTimeTo(&to);
    const uint64_t ticksFrom = ticksOf(from);
    const uint64_t advFrom = advTime(ticksFrom), advTo = advTime(ticksOf(to));
    if (m_frameNr == 0)
        m_firstFrameTime100ns = ticksFrom;

    // The first frame is whole in any case, as the picture that regions of interest are found in.
    const bool isFullFrame = m_frameNr == 0 || m_zoneDefinitions.empty();
    if (!IsLengthUsable(isFullFrame, length))
        return;

    FrameIndexEntry entry;
    entry.m_ticks = ticksFrom - m_firstFrameTime100ns;
    entry.m_offsetBytes = GetCurPosition();
    WriteUint32(sAdvFrameMagic);
    WriteUint8(0);
    WriteUint64(advFrom);
    WriteUint64(advTo);
    if (isFullFrame)
        WriteFullFrame(frameData, length);
    else
        WriteZones(frameData);
    WriteFrameStatus(advFrom, advTo, advTime(datetime01010001));

    // Asked for before the check: a failure, which may come at any time, moves it.
    entry.m_lenBytes = GetCurPosition() - entry.m_offsetBytes - sizeof sAdvFrameMagic;
    if (!FlushFile()) {
        CutToWholeFrames();
        return;
    }
    m_mainIndexEntries.push_back(entry);
}

// Which frames the disk took is known after they were handed over, some frames later when they are small or it is slow.
void AdvWriter::CutToWholeFrames()
{
    const uint64_t written = WrittenUpTo();
    const auto endOf = [](const FrameIndexEntry& entry) {
        return entry.m_offsetBytes + sizeof sAdvFrameMagic + entry.m_lenBytes;
    };
    while (!m_mainIndexEntries.empty() && endOf(m_mainIndexEntries.back()) > written)
        m_mainIndexEntries.pop_back();
    m_frameNr = static_cast<uint32_t>(m_mainIndexEntries.size());
    CutBackTo(m_mainIndexEntries.empty() ? m_endOfHeaders : endOf(m_mainIndexEntries.back()));
}

bool AdvWriter::IsLengthUsable(bool isFullFrame, uint64_t length)
{
    // An uncompressed full frame is written as it comes; the rest reads what the image size says.
    if (isFullFrame && m_useLagarithCompressor == 0)
        return true;
    const uint64_t needed = uint64_t{m_w} * m_h * m_nativeBitsPerPixel / 8;
    if (length >= needed)
        return true;
    Fail("record", m_filePath, "a frame has " + std::to_string(length) + " bytes, not " + std::to_string(needed));
    return false;
}

void AdvWriter::WriteFullFrame(uint8_t* frameData, uint64_t length)
{
    uint8_t* pixels = frameData;
    if (m_useLagarithCompressor != 0) {
        pixels = m_compressed.data();
        length = m_lagarithCompressor->CompressData(reinterpret_cast<uint16_t*>(frameData), pixels);
    }
    WriteUint32(static_cast<uint32_t>(length + sAdvImageSectionHead));
    WriteUint8(sAdvFullLayout);
    WriteUint8(0);
    WriteBytes(pixels, length);
}

void AdvWriter::WriteZones(uint8_t* frameData)
{
    // 12-bit pixels count as one byte here and as one and a half in the length, on purpose.
    const uint64_t bytesPerPixel = m_nativeBitsPerPixel / 8;
    WriteUint32(m_zoneDataLength + sAdvImageSectionHead);
    WriteUint8(sAdvZoneLayout);
    WriteUint8(0);
    for (const auto& zone : m_zoneDefinitions) {
        const uint64_t bottom = std::min<uint64_t>(zone->y + zone->h, m_h);
        for (uint64_t y = zone->y; y < bottom; ++y)
            WriteBytes(frameData + bytesPerPixel * (zone->x + m_w * y), zone->w * bytesPerPixel);
    }
}

void AdvWriter::WriteFrameStatus(uint64_t from, uint64_t to, uint64_t systemTime)
{
    std::map<std::string, std::string> attributes;
    m_attributesProvider->GetFrameAttributes(attributes);
    const std::string& gain = attributes["GAIN-DB"];

    WriteUint32(sAdvStatusLengthWithoutGain + static_cast<uint32_t>(std::min(gain.size(), sLongestText)));
    WriteUint64((from + to) >> 1);
    WriteUint32(static_cast<uint32_t>(to - from));
    WriteUint8(ADV_STATUS_COUNT);

    WriteUint8(ADV_GAIN);
    WriteUtf8(gain, false);
    WriteUint8(ADV_SYSTEM_TIME);
    WriteUint64(systemTime);
    WriteUint8(ADV_CAMERA_FRAME_ID);
    WriteUint32(m_attributesProvider->GetCameraFrameId());
    WriteUint8(ADV_TRACKED_SATELLITES);
    WriteUint8(m_attributesProvider->GetGpsNofSatellites());
    WriteUint8(ADV_FIX_STATUS);
    WriteUint8(m_attributesProvider->GetGpsFixState()); // all bits as they came; the time flag is not mixed in
    WriteUint8(ADV_TEMPERATURE);
    WriteFloat(temperatureOf(m_attributesProvider->GetSensorTemperature()));
    WriteUint8(ADV_DOP_TIME);
    WriteUint32(m_attributesProvider->GetGpsDilusionOfPrecisionTime());
    for (int i = 0; i < sDopKinds; ++i) {
        WriteUint8(static_cast<uint8_t>(ADV_GDOP + i));
        WriteFloat(static_cast<float>(m_attributesProvider->GetGpsDilusionOfPrecisionGptvh(i) * 0.01));
    }
}

} // namespace libobrifile
