#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

/// What an ADV recording (format version 2) is made of, as found in the file. Plain records, any thread.
namespace obriadv {

struct SAdvTag {
    std::string name;
    std::string value;
};

/// The value of the first tag of that name, empty when there is none.
std::string tagValue(const std::vector<SAdvTag>& tags, const std::string& name);

struct SAdvStream {
    std::string name;
    uint64_t countAt = 0;    ///< file position of frameCount
    uint32_t frameCount = 0; ///< as claimed; 0 while recording
    uint64_t clockFrequency = 0;
    uint32_t timingAccuracy = 0;
    uint64_t metadataOffset = 0;
};

struct SAdvSection {
    std::string name;
    uint64_t offset = 0; ///< of the section's header, as claimed
};

/// A region of interest, in pixels.
struct SAdvZone {
    uint32_t x = 0, y = 0, w = 0, h = 0;
};

struct SAdvLayout {
    uint8_t id = 0;
    uint8_t version = 0;
    uint8_t bitsPerPixel = 0;
    std::vector<SAdvTag> tags;

    // Read from the tags:
    bool isCompressed = false;   ///< Lagarith16
    bool isUsable = true;        ///< false: the tags contradict themselves or the image, or name an unknown compression
    std::vector<SAdvZone> zones; ///< empty: full frames
};

struct SAdvImageSection {
    uint8_t version = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint8_t bitsPerPixel = 0;
    std::vector<SAdvLayout> layouts;
    std::vector<SAdvTag> tags;
};

/// How the values of a status entry are stored.
enum class EAdvType : uint8_t { Uint8 = 0, Uint16 = 1, Uint32 = 2, Uint64 = 3, Float32 = 4, Text = 5 };

struct SAdvStatusTag {
    std::string name;
    uint8_t type = 0; ///< an EAdvType, or a code that is not known
};

struct SAdvStatusSection {
    uint8_t version = 0;
    uint64_t accuracy = 0;
    std::vector<SAdvStatusTag> tags;
};

/// Everything before the first frame.
struct SAdvHeader {
    uint8_t version = 0;
    uint32_t reserved = 0;
    uint64_t indexOffset = 0; ///< 0 while recording
    uint64_t systemMetadataOffset = 0;
    uint64_t userMetadataOffset = 0; ///< 0 while recording
    std::vector<SAdvStream> streams;
    std::vector<SAdvSection> sections;
    SAdvImageSection image;
    SAdvStatusSection status;
    std::vector<SAdvTag> systemMetadata; ///< in the order of the file
    uint64_t end = 0;                    ///< where the frame records begin
};

/// The status entries that recordings of this camera carry, in the order of their definition.
enum class EAdvStatus : uint8_t {
    Gain,
    SystemTime,
    VideoCameraFrameId,
    TrackedSatellites,
    FixStatus,
    Temperature,
    DopTime,
    Gdop,
    Pdop,
    Tdop,
    Vdop,
    Hdop,
    Count
};

struct SAdvStatus {
    std::bitset<static_cast<size_t>(EAdvStatus::Count)> present;
    std::string gain;         ///< text, as the camera program gave it
    int64_t systemTimeNs = 0; ///< since 2010-01-01
    uint32_t cameraFrameId = 0;
    uint8_t satellites = 0;
    uint8_t fixStatus = 0; ///< raw byte; both low bits set: a fix
    float temperature = 0; ///< a raw code, -999: no reading
    uint32_t dopTime = 0;
    float gdop = 0, pdop = 0, tdop = 0, vdop = 0, hdop = 0;

    bool has(EAdvStatus entry) const { return present[static_cast<size_t>(entry)]; }
};

/// One frame record. Times are nanoseconds since 2010-01-01 00:00:00 UTC; a time from before 2010, which a
/// camera without a valid clock leaves, is negative.
struct SAdvFrame {
    uint64_t offset = 0; ///< of the record's magic number
    uint64_t length = 0; ///< bytes of the record after the magic number
    int64_t startNs = 0;
    int64_t endNs = 0;
    uint8_t streamId = 0;
    uint8_t layoutId = 0;
    uint8_t layoutByte = 0; ///< the byte after the layout id
    uint64_t pixelOffset = 0;
    uint32_t pixelBytes = 0;
    uint64_t midNs = 0;      ///< mid-exposure as stored
    uint32_t durationNs = 0; ///< exposure as stored, cut to 32 bits
    SAdvStatus status;

    uint64_t end() const { return offset + 4 + length; }
};

struct SAdvIndexEntry {
    uint64_t ticks = 0;  ///< 100 ns, start of exposure since that of the first frame
    uint64_t offset = 0; ///< of the frame's magic number
    uint32_t length = 0; ///< bytes of the record after the magic number
};

/// The index table as it stands in the file: a claim, since its fields wrap at 32 bits in long recordings.
struct SAdvIndex {
    bool isPresent = false; ///< false: interrupted recording, or a table that cannot be read
    uint8_t version = 0;
    uint32_t mainCount = 0; ///< entries claimed
    uint32_t calibrationCount = 0;
    std::vector<SAdvIndexEntry> entries; ///< main stream; no more than there are frames
};

/// What a stretch of the file is. All regions together cover the file from its first byte to its last.
enum class EAdvRegion : uint8_t { Header, Frames, Index, UserMetadata, Unaccounted };

struct SAdvRegion {
    EAdvRegion kind = EAdvRegion::Unaccounted;
    uint64_t offset = 0;
    uint64_t length = 0;
};

/// Something wrong, and where.
struct SAdvFinding {
    uint64_t offset = 0;
    std::string text;
};

} // namespace obriadv
