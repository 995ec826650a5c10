#include "AdvWriter.h"

#include "AdvFormat.h"
#include "lag1_compressor.h"

#include <utility>

namespace libobrifile {

namespace {
constexpr uint32_t sExpectedFrames = 1 << 16; // room in the index from the start: 1.5 MB, 84 minutes at 13 frames/s

struct SStatusDefinition {
    const char* name;
    EAdvType type;
};
constexpr SStatusDefinition sStatusDefinitions[] = {
    {"Gain", ADV_TEXT},
    {"SystemTime", ADV_UINT64},
    {"VideoCameraFrameId", ADV_UINT32},
    {"TrackedSatellites", ADV_UINT8},
    {"FixStatus", ADV_UINT8},
    {"Temperature", ADV_FLOAT},
    {"DOPTime", ADV_UINT32},
    {"GDOP", ADV_FLOAT},
    {"PDOP", ADV_FLOAT},
    {"TDOP", ADV_FLOAT},
    {"VDOP", ADV_FLOAT},
    {"HDOP", ADV_FLOAT},
};
static_assert(std::size(sStatusDefinitions) == ADV_STATUS_COUNT);

struct SMetadataTag {
    const char* name;
    const char* attribute;
};
constexpr SMetadataTag sMetadataBeforePosition[] = {
    {"RECORDER-SOFTWARE", "RECORDER-SOFTWARE"},
    {"RECORDER-SOFTWARE-VERSION", "RECORDER-SOFTWARE-VERSION"},
    {"CAMERA-MODEL", "CAMERA-MODEL"},
    {"CAMERA-SERIAL-NO", "CAMERA-SERIAL-NO"},
    {"CAMERA-VENDOR-NAME", "CAMERA-VENDOR-NAME"},
    {"CAMERA-SENSOR-INFO", "CAMERA-SENSOR-INFO"},
    {"CAMERA-FIRMWARE-VERSION", "CAMERA-FIRMWARE-VERSION"},
    {"CAMERA-DRIVER-NAME", "CAMERA-DRIVER-NAME"},
    {"LATITUDE", "LATITUDE"},
    {"LONGITUDE", "RECORDER-SOFTWARE"}, // not the longitude, on purpose
    {"ALTITUDE", "ALTITUDE"},
    {"BINNING-X", "BINNING-X"},
    {"BINNING-Y", "BINNING-Y"},
    {"ACQUISITION-DELAY", "ACQUISITION-DELAY"},
    {"AUTHOR", "AUTHOR"},
    {"COMMENT", "COMMENT"},
    {"INSTRUMENT", "INSTRUME"},
    {"OBSERVER", "OBSERVER"},
    {"TELESCOPE", "TELESCOP"},
};
constexpr SMetadataTag sMetadataPosition[] = {{"RA", "RA"}, {"DEC", "DEC"}}; // both or none
constexpr SMetadataTag sMetadataAfterPosition[] = {{"OBJNAME", "OBJNAME"}, {"HEIGHT", "HEIGHT"}, {"WIDTH", "WIDTH"}};

// The compressor sees 16-bit samples, whatever the pixels are.
uint32_t samplesPerRow(uint32_t width, uint8_t bitsPerPixel)
{
    return bitsPerPixel == 8 ? width / 2 : bitsPerPixel == 12 ? width * 3 / 4 : width;
}
} // namespace

AdvWriter::AdvWriter(IFileWriterAttributesProvider* provider)
    : BaseWriter(provider), m_useLagarithCompressor(0),
      m_zoneDataLength(0), m_dataStreamMetadataOffset{}, m_configHeaderOffset{}, m_posStreamNofFrames{},
      m_firstFrameTime100ns(0), m_endOfHeaders(0)
{
}

AdvWriter::~AdvWriter() = default;

std::string AdvWriter::GetFormatName()
{
    return "ADV " + std::to_string(m_nativeBitsPerPixel) + "-bit";
}

void AdvWriter::CreateAdvFile(std::string path, uint32_t w, uint32_t h, uint8_t bbp, std::vector<ZoneDefinition*> zones,
                              int useLagarithCompressor)
{
    m_useLagarithCompressor = useLagarithCompressor;
    const uint64_t row = samplesPerRow(w, bbp);
    if (row == 0 || h == 0 || row > Compressor::MaxSamples / h) {
        Fail("record", path, "impossible image size " + std::to_string(w) + "x" + std::to_string(h));
        return;
    }
    const int samples = static_cast<int>(row), rows = static_cast<int>(h);
    m_lagarithCompressor = std::make_unique<Compressor>(samples, rows);
    m_compressed.resize(useLagarithCompressor != 0 ? Compressor::ScratchBytes(samples, rows) : 0);
    m_mainIndexEntries.clear();
    m_mainIndexEntries.reserve(sExpectedFrames);
    m_calibrationIndexEntries.clear();

    DeleteZoneDefinitions();
    for (const ZoneDefinition* zone : zones)
        AddClippedZone(*zone, w, h);
    if (!m_zoneDefinitions.empty()) {
        // The time stamps in the last row belong to every frame.
        const ZoneDefinition lastRow{0, static_cast<uint16_t>(h - 1), static_cast<uint16_t>(w), 1};
        m_zoneDefinitions.push_back(std::make_unique<ZoneDefinition>(lastRow));
    }
    CreateBaseFile(std::move(path), w, h, bbp);
}

void AdvWriter::AddClippedZone(ZoneDefinition zone, uint32_t width, uint32_t height)
{
    if (zone.x >= width || zone.y >= height)
        return;
    if (zone.y + zone.h > height - 1)
        zone.h = static_cast<uint16_t>(height - zone.y - 1);
    if (zone.x + zone.w > width)
        zone.w = static_cast<uint16_t>(width - zone.x);
    if (zone.w != 0 && zone.h != 0)
        m_zoneDefinitions.push_back(std::make_unique<ZoneDefinition>(zone));
}

void AdvWriter::DeleteZoneDefinitions()
{
    m_zoneDefinitions.clear();
}

void AdvWriter::OnRecordHeader()
{
    WriteHeaders();
    m_endOfHeaders = GetCurPosition();
}

void AdvWriter::OnRecordTrailer()
{
    SettleFile();
    CutToWholeFrames();
    const uint64_t indexTable = GetCurPosition();
    WriteIndexTables();
    const uint64_t userMetadataTable = GetCurPosition();
    WriteUserMetadataTable();
    if (!SettleFile()) {
        // No room for the index: the recording stays readable frame by frame, as one that was interrupted.
        CutBackTo(indexTable);
        return;
    }
    // The header names what the file has, and last what makes it complete. The second stream stays empty.
    WriteValue32ToAddress(static_cast<uint32_t>(m_mainIndexEntries.size()), m_posStreamNofFrames[0]);
    WriteValue64ToAddress(userMetadataTable, sAdvUserMetadataAt);
    WriteValue64ToAddress(indexTable, sAdvIndexTableAt);
}

void AdvWriter::WriteHeaders()
{
    WriteUint32(sAdvMagic);
    WriteUint8(sAdvVersion);
    WriteUint32(0);
    WriteUint64(0); // index table, system metadata table and user metadata table: set when they are written
    WriteUint64(0);
    WriteUint64(0);

    WriteUint8(2);
    WriteDataStreamDefinition(0, "MAIN");
    WriteDataStreamDefinition(1, "CALIBRATION");

    constexpr const char* sections[] = {"IMAGE", "STATUS"};
    WriteUint8(std::size(sections));
    for (size_t ix = 0; ix < std::size(sections); ++ix) {
        WriteUtf8(sections[ix], false);
        m_configHeaderOffset[ix] = GetCurPosition();
        WriteUint64(0);
    }
    WriteCurPositionToAddress(m_configHeaderOffset[0]);
    WriteImageSection();
    WriteCurPositionToAddress(m_configHeaderOffset[1]);
    WriteStatusSection();
    WriteSystemMetadataTable();
}

void AdvWriter::WriteDataStreamDefinition(int ix, std::string streamName)
{
    WriteUtf8(streamName, false);
    m_posStreamNofFrames[ix] = GetCurPosition();
    WriteUint32(0);
    WriteUint64(sAdvTicksPerSecond);
    WriteUint32(sAdvStreamAccuracy);
    m_dataStreamMetadataOffset[ix] = GetCurPosition();
    WriteUint64(0); // streams have no metadata, so this stays
}

void AdvWriter::WriteImageSection()
{
    WriteUint8(sAdvImageSectionVersion);
    WriteUint32(m_w);
    WriteUint32(m_h);
    WriteUint8(m_nativeBitsPerPixel);
    WriteUint8(m_zoneDefinitions.empty() ? 1 : 2);
    WriteUint8(sAdvFullLayout);
    WriteUint8(sAdvFullLayout);
    WriteUint8(m_nativeBitsPerPixel);
    WriteUint8(2);
    WriteTag("DATA-LAYOUT", "FULL-IMAGE-RAW");
    WriteTag("SECTION-DATA-COMPRESSION", m_useLagarithCompressor != 0 ? "LAGARITH16" : "UNCOMPRESSED");
    m_zoneDataLength = 0;
    if (!m_zoneDefinitions.empty())
        WriteZoneLayout();
    WriteUint8(3);
    WriteTag("IMAGE-BYTE-ORDER", "LITTLE-ENDIAN");
    WriteTag("IMAGE-MAX-PIXEL-VALUE", "65535");
    WriteTag("IMAGE-BAYER-PATTERN", "MONOCHROME");
}

void AdvWriter::WriteZoneLayout()
{
    WriteUint8(sAdvZoneLayout);
    WriteUint8(sAdvZoneLayout);
    WriteUint8(m_nativeBitsPerPixel);
    WriteUint8(static_cast<uint8_t>(4 * m_zoneDefinitions.size() + 3));
    WriteTag("DATA-LAYOUT", "FULL-IMAGE-RAW");
    WriteTag("SECTION-DATA-COMPRESSION", "UNCOMPRESSED");
    WriteTag("ROI-COUNT", std::to_string(m_zoneDefinitions.size()));
    for (size_t ix = 0; ix < m_zoneDefinitions.size(); ++ix) {
        const ZoneDefinition& zone = *m_zoneDefinitions[ix];
        WriteTag("ROI-TOP-" + std::to_string(ix), std::to_string(zone.y));
        WriteTag("ROI-LEFT-" + std::to_string(ix), std::to_string(zone.x));
        WriteTag("ROI-WIDTH-" + std::to_string(ix), std::to_string(zone.w));
        WriteTag("ROI-HEIGHT-" + std::to_string(ix), std::to_string(zone.h));
        m_zoneDataLength += uint32_t{m_nativeBitsPerPixel} * zone.w * zone.h / 8;
    }
}

void AdvWriter::WriteStatusSection()
{
    WriteUint8(sAdvStatusSectionVersion);
    WriteUint64(sAdvStatusAccuracy);
    WriteUint8(ADV_STATUS_COUNT);
    for (const auto& [name, type] : sStatusDefinitions)
        WriteStatusEntryDefinition(name, type);
}

void AdvWriter::WriteStatusEntryDefinition(std::string name, uint8_t type)
{
    WriteUtf8(name, false);
    WriteUint8(type);
}

void AdvWriter::WriteSystemMetadataTable()
{
    std::map<std::string, std::string> attributes;
    m_attributesProvider->GetHeaderAttributes(attributes);
    m_attributesProvider->GetFrameAttributes(attributes);
    const bool hasPosition = !attributes["RA"].empty() && !attributes["DEC"].empty();

    WriteCurPositionToAddress(sAdvSystemMetadataAt);
    WriteUint32(static_cast<uint32_t>(std::size(sMetadataBeforePosition) + std::size(sMetadataAfterPosition) +
                                      (hasPosition ? std::size(sMetadataPosition) : 0)));
    for (const auto& [name, attribute] : sMetadataBeforePosition)
        WriteTag(name, attributes[attribute]);
    if (hasPosition)
        for (const auto& [name, attribute] : sMetadataPosition)
            WriteTag(name, attributes[attribute]);
    for (const auto& [name, attribute] : sMetadataAfterPosition)
        WriteTag(name, attributes[attribute]);
}

void AdvWriter::WriteIndexTables()
{
    const auto frames = static_cast<uint32_t>(m_mainIndexEntries.size());
    const uint64_t start = GetCurPosition();
    WriteUint8(sAdvIndexVersion);
    const uint64_t mainAt = GetCurPosition();
    WriteUint32(0);
    const uint64_t calibrationAt = GetCurPosition();
    WriteUint32(0);

    const uint64_t mainStart = GetCurPosition();
    WriteUint32(frames);
    for (const FrameIndexEntry& entry : m_mainIndexEntries) {
        // The low halves only, on purpose: times and offsets beyond 2^32 wrap.
        WriteUint64(static_cast<uint32_t>(entry.m_ticks));
        WriteUint64(static_cast<uint32_t>(entry.m_offsetBytes));
        WriteUint32(static_cast<uint32_t>(entry.m_lenBytes));
    }
    const uint64_t calibrationStart = GetCurPosition();
    WriteUint32(0);

    WriteValue32ToAddress(static_cast<uint32_t>(mainStart - start), mainAt);
    WriteValue32ToAddress(static_cast<uint32_t>(calibrationStart - start), calibrationAt);
}

void AdvWriter::WriteUserMetadataTable()
{
    WriteUint32(0);
}

void AdvWriter::WriteValue32ToAddress(uint32_t value, uint64_t address)
{
    const uint64_t here = GetCurPosition();
    SetCurPosition(address);
    WriteUint32(value);
    SetCurPosition(here);
}

void AdvWriter::WriteValue64ToAddress(uint64_t value, uint64_t address)
{
    const uint64_t here = GetCurPosition();
    SetCurPosition(address);
    WriteUint64(value);
    SetCurPosition(here);
}

void AdvWriter::WriteCurPositionToAddress(uint64_t address)
{
    WriteValue64ToAddress(GetCurPosition(), address);
}

} // namespace libobrifile
