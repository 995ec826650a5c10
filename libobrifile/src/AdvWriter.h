#pragma once

#include "BaseWriter.h"
#include "ZoneDefinition.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace libobrifile {

class Compressor;

/// Where one frame stands in the file, and when it began.
struct FrameIndexEntry {
    uint64_t m_ticks;       // 100 ns from the start of the first frame's exposure
    uint64_t m_offsetBytes; // position of the frame's magic number
    uint64_t m_lenBytes;    // bytes of the record after the magic number
};

/// Writes a recording in the ADV format, version 2; docs/file-formats.md shows the bytes.
///
/// For one file: a second recording needs a second writer. A writer holds, for the length of the
/// recording, the compressor and (when compressing) one buffer for a compressed frame.
class AdvWriter : public BaseWriter {
public:
    explicit AdvWriter(IFileWriterAttributesProvider* provider);
    ~AdvWriter() override;

    /// "ADV 16-bit" and the like.
    std::string GetFormatName() override;
    /// Opens the file; see CreateBaseFile for path, w, h, bbp and failure.
    /// @param zones regions of interest, copied and clipped to the image without its last row; those
    ///              left empty are dropped. When one is left, the last row is recorded as a further zone,
    ///              and every frame but the first carries the zones only, never compressed.
    /// @param useLagarithCompressor non-zero: full frames are compressed.
    virtual void CreateAdvFile(std::string path, uint32_t w, uint32_t h, uint8_t bbp,
                               std::vector<ZoneDefinition*> zones, int useLagarithCompressor);

protected:
    void OnRecordHeader() override;
    void OnRecordFrame(uint8_t* frameData, uint64_t length, uint64_t datetime01010001) override;
    void OnRecordTrailer() override;

    void WriteHeaders();
    void WriteDataStreamDefinition(int ix, std::string streamName);
    void WriteStatusEntryDefinition(std::string name, uint8_t type);
    void WriteSystemMetadataTable();
    void WriteIndexTables();
    void WriteUserMetadataTable();
    void WriteValue32ToAddress(uint32_t value, uint64_t address);
    void WriteValue64ToAddress(uint64_t value, uint64_t address);
    void WriteCurPositionToAddress(uint64_t address);
    void DeleteZoneDefinitions();

    int m_useLagarithCompressor;
    std::unique_ptr<Compressor> m_lagarithCompressor;
    std::vector<FrameIndexEntry> m_mainIndexEntries;
    std::vector<FrameIndexEntry> m_calibrationIndexEntries; // stays empty
    std::vector<std::unique_ptr<ZoneDefinition>> m_zoneDefinitions;
    uint32_t m_zoneDataLength;
    std::array<uint64_t, 2> m_dataStreamMetadataOffset;
    std::array<uint64_t, 2> m_configHeaderOffset;
    std::array<uint64_t, 2> m_posStreamNofFrames;
    uint64_t m_firstFrameTime100ns;

private:
    void AddClippedZone(ZoneDefinition zone, uint32_t width, uint32_t height);
    void WriteImageSection();
    void WriteZoneLayout();
    void WriteStatusSection();
    bool IsLengthUsable(bool isFullFrame, uint64_t length);
    void WriteFullFrame(uint8_t* frameData, uint64_t length);
    void WriteZones(uint8_t* frameData);
    void WriteFrameStatus(uint64_t from, uint64_t to, uint64_t systemTime);
    void CutToWholeFrames();

    uint64_t m_endOfHeaders;           // where the first frame goes
    std::vector<uint8_t> m_compressed; // one compressed frame; empty when not compressing
};

} // namespace libobrifile
