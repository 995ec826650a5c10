#include "AdvHeaderReader.h"

#include "ByteCursor.h"
#include "NumberText.h"

#include <algorithm>

namespace obriadv {

namespace {

// Start of the file, integers little-endian:
//    0  u32  magic, "FSTF" as stored
//    4  u8   format version, 2
//    5  u32  reserved, 0
//    9  u64  offset of the index table; 0 while recording
//   17  u64  offset of the system metadata
//   25  u64  offset of the user metadata; 0 while recording
//   33  u8   number of streams, then the streams, the sections and the section headers
constexpr uint32_t sMagic = 0x46545346;
constexpr uint8_t sVersion = 2;
// Metadata are some dozen short strings; the bound keeps a lying count from filling the memory.
constexpr uint64_t sLongestHeader = uint64_t{4} * 1024 * 1024;

std::vector<SAdvTag> readTags(ByteCursor& in, uint32_t count)
{
    std::vector<SAdvTag> tags;
    for (uint32_t i = 0; i < count && in.ok(); ++i) {
        std::string name = in.text();
        tags.push_back({std::move(name), in.text()});
    }
    return tags;
}

SAdvStream readStream(ByteCursor& in)
{
    SAdvStream stream;
    stream.name = in.text();
    stream.countAt = in.position();
    stream.frameCount = in.u32();
    stream.clockFrequency = in.u64();
    stream.timingAccuracy = in.u32();
    stream.metadataOffset = in.u64();
    return stream;
}

bool readZones(const SAdvImageSection& image, SAdvLayout& layout)
{
    const std::string countText = tagValue(layout.tags, "ROI-COUNT");
    if (countText.empty())
        return true;
    uint32_t count = 0;
    // Each zone takes four tags, and the number of tags is one byte.
    if (!parseInteger(countText, count) || count == 0 || count > 63)
        return false;
    for (uint32_t i = 0; i < count; ++i) {
        SAdvZone zone;
        const struct {
            const char* name;
            uint32_t& field;
        } parts[] = {{"ROI-LEFT-", zone.x}, {"ROI-TOP-", zone.y}, {"ROI-WIDTH-", zone.w}, {"ROI-HEIGHT-", zone.h}};
        for (const auto& part : parts)
            if (!parseInteger(tagValue(layout.tags, part.name + std::to_string(i)), part.field))
                return false;
        const bool isInside = zone.x <= image.width && zone.w <= image.width - zone.x && zone.y <= image.height &&
                              zone.h <= image.height - zone.y;
        if (!isInside)
            return false;
        layout.zones.push_back(zone);
    }
    return true;
}

SAdvLayout readLayout(ByteCursor& in, const SAdvImageSection& image)
{
    SAdvLayout layout;
    layout.id = in.u8();
    layout.version = in.u8();
    layout.bitsPerPixel = in.u8();
    const uint8_t tagCount = in.u8();
    layout.tags = readTags(in, tagCount);
    const std::string compression = tagValue(layout.tags, "SECTION-DATA-COMPRESSION");
    layout.isCompressed = compression == "LAGARITH16";
    const bool isKnown = layout.isCompressed || compression == "UNCOMPRESSED";
    const bool hasBits = layout.bitsPerPixel == 8 || layout.bitsPerPixel == 12 || layout.bitsPerPixel == 16;
    layout.isUsable = readZones(image, layout) && isKnown && hasBits && !(layout.isCompressed && !layout.zones.empty());
    return layout;
}

SAdvImageSection readImageSection(ByteCursor& in)
{
    SAdvImageSection image;
    image.version = in.u8();
    image.width = in.u32();
    image.height = in.u32();
    image.bitsPerPixel = in.u8();
    const uint8_t layoutCount = in.u8();
    for (int i = 0; i < layoutCount && in.ok(); ++i)
        image.layouts.push_back(readLayout(in, image));
    const uint8_t tagCount = in.u8();
    image.tags = readTags(in, tagCount);
    return image;
}

SAdvStatusSection readStatusSection(ByteCursor& in)
{
    SAdvStatusSection status;
    status.version = in.u8();
    status.accuracy = in.u64();
    const uint8_t count = in.u8();
    for (int i = 0; i < count && in.ok(); ++i) {
        std::string name = in.text();
        status.tags.push_back({std::move(name), in.u8()});
    }
    return status;
}

void readStreamsAndSections(ByteCursor& in, SAdvHeader& header)
{
    const uint8_t streamCount = in.u8();
    for (int i = 0; i < streamCount && in.ok(); ++i)
        header.streams.push_back(readStream(in));
    const uint8_t sectionCount = in.u8();
    for (int i = 0; i < sectionCount && in.ok(); ++i) {
        std::string name = in.text();
        header.sections.push_back({std::move(name), in.u64()});
    }
}

std::string readFileHeader(ByteCursor& in, SAdvHeader& header)
{
    if (in.u32() != sMagic)
        return in.ok() ? "not an ADV recording: it does not begin with \"FSTF\"" : "not an ADV recording: too short";
    header.version = in.u8();
    if (in.ok() && header.version != sVersion)
        return "ADV format version " + std::to_string(header.version) + " is not supported, only version 2";
    header.reserved = in.u32();
    header.indexOffset = in.u64();
    header.systemMetadataOffset = in.u64();
    header.userMetadataOffset = in.u64();
    return {};
}

std::string checkImage(const SAdvImageSection& image)
{
    if (image.width == 0 || image.height == 0 || uint64_t{image.width} * image.height > sMostPixels)
        return "an image of " + std::to_string(image.width) + " x " + std::to_string(image.height) +
               " pixels is not possible";
    return {};
}

/// Follows the offsets of the sections and of the metadata, which should lie one behind the other.
class SectionReader {
public:
    SectionReader(const ByteSource& source, uint64_t position, std::vector<SAdvFinding>& damage)
        : m_source(source), m_end(position), m_damage(damage)
    {
    }

    uint64_t end() const { return m_end; }

    template <class Read>
    bool at(const std::string& what, uint64_t offset, Read read)
    {
        // A recording interrupted within its header has no offset yet; its sections still follow each other.
        if (offset == 0)
            offset = m_end;
        if (offset != m_end)
            m_damage.push_back({offset, "the " + what + " starts at byte " + std::to_string(offset) + ", not at " +
                                            std::to_string(m_end) + " where what comes before it ends"});
        ByteCursor in(m_source, offset, sLongestHeader);
        read(in);
        m_end = std::max(m_end, in.position());
        return in.ok();
    }

private:
    const ByteSource& m_source;
    uint64_t m_end;
    std::vector<SAdvFinding>& m_damage;
};

std::string readSections(SectionReader& sections, SAdvHeader& header)
{
    bool hasImage = false, hasStatus = false;
    for (const SAdvSection& section : header.sections) {
        bool isRead = true;
        if (section.name == "IMAGE")
            isRead = hasImage = sections.at("image section", section.offset,
                                            [&](ByteCursor& at) { header.image = readImageSection(at); });
        else if (section.name == "STATUS")
            isRead = hasStatus = sections.at("status section", section.offset,
                                             [&](ByteCursor& at) { header.status = readStatusSection(at); });
        if (!isRead)
            return "the " + section.name + " section cannot be read: the file ends within it or its counts are wrong";
    }
    return hasImage && hasStatus ? "" : "the header defines no image or no status section";
}

} // namespace

std::string tagValue(const std::vector<SAdvTag>& tags, const std::string& name)
{
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const SAdvTag& tag) { return tag.name == name; });
    return found == tags.end() ? std::string() : found->value;
}

uint64_t rawBytes(const SAdvImageSection& image, const SAdvLayout& layout)
{
    if (!layout.isUsable)
        return 0;
    const auto bytes = [&](uint64_t w, uint64_t h) { return layout.bitsPerPixel * w * h / 8; };
    if (layout.zones.empty())
        return bytes(image.width, image.height);
    uint64_t sum = 0;
    for (const SAdvZone& zone : layout.zones)
        sum += bytes(zone.w, zone.h);
    return sum;
}

std::string readHeader(const ByteSource& source, SAdvHeader& header, std::vector<SAdvFinding>& damage)
{
    ByteCursor in(source, 0, sLongestHeader);
    if (std::string error = readFileHeader(in, header); !error.empty())
        return error;
    readStreamsAndSections(in, header);
    if (!in.ok())
        return "the file ends within its header, at byte " + std::to_string(in.position());
    SectionReader sections(source, in.position(), damage);
    if (std::string error = readSections(sections, header); !error.empty())
        return error;
    if (std::string error = checkImage(header.image); !error.empty())
        return error;
    const bool hasMetadata = sections.at("system metadata", header.systemMetadataOffset, [&](ByteCursor& at) {
        const uint32_t count = at.u32();
        header.systemMetadata = readTags(at, count);
    });
    if (!hasMetadata)
        return "the system metadata cannot be read: the file ends within them or their count is wrong";
    header.end = sections.end();
    return {};
}

} // namespace obriadv
