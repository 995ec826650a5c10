#include "AdvFile.h"

#include "AdvFrameWalker.h"
#include "AdvHeaderReader.h"
#include "AdvPixelReader.h"
#include "ByteCursor.h"

#include <algorithm>

namespace obriadv {

namespace {

// The index table; offsets are counted from its first byte:
//    0       u8   version, 2
//    1       u32  offset of the main table: 9
//    5       u32  offset of the calibration table
//    9       u32  n, then n entries of u64 ticks, u64 offset, u32 length
//    9+4+20n u32  m, then m entries
constexpr uint64_t sIndexHead = 1 + 4 + 4;
constexpr uint64_t sEntryBytes = 8 + 8 + 4;
constexpr uint64_t sLongestUserMetadata = uint64_t{4} * 1024 * 1024;

/// Reads one table of the index, keeping at most mostKept entries; false when it does not fit into the file.
bool readIndexTable(ByteCursor& in, uint32_t& count, size_t mostKept, std::vector<SAdvIndexEntry>& entries)
{
    count = in.u32();
    const size_t kept = std::min<size_t>(count, mostKept);
    if (!in.ok() || count * sEntryBytes > in.left())
        return false;
    for (size_t i = 0; i < kept; ++i) {
        SAdvIndexEntry entry;
        entry.ticks = in.u64();
        entry.offset = in.u64();
        entry.length = in.u32();
        entries.push_back(entry);
    }
    in.skip((count - kept) * sEntryBytes);
    return in.ok();
}

/// Reads the index and tells where it ends; false with a reason when it cannot be read.
bool readIndex(const ByteSource& source, uint64_t offset, size_t frames, SAdvIndex& index, uint64_t& end,
               std::string& reason)
{
    ByteCursor in(source, offset, source.size());
    index.version = in.u8();
    const uint64_t mainAt = in.u32();
    const uint64_t calibrationAt = in.u32();
    std::vector<SAdvIndexEntry> ignored;
    const bool isRead = in.ok() && readIndexTable(in, index.mainCount, frames, index.entries);
    const bool isPlaced = mainAt == sIndexHead && calibrationAt == in.position() - offset;
    if (isRead && !isPlaced)
        reason = "the tables of the index are not where its head says";
    else if (!isRead || !readIndexTable(in, index.calibrationCount, 0, ignored))
        reason = "the index cannot be read: the file ends within it or its counts are wrong";
    index.isPresent = reason.empty();
    end = in.position();
    return index.isPresent;
}

bool readUserMetadata(const ByteSource& source, uint64_t offset, std::vector<SAdvTag>& tags, uint64_t& end)
{
    ByteCursor in(source, offset, std::min(offset + sLongestUserMetadata, source.size()));
    const uint32_t count = in.u32();
    for (uint32_t i = 0; i < count && in.ok(); ++i) {
        std::string name = in.text();
        tags.push_back({std::move(name), in.text()});
    }
    end = in.position();
    return in.ok();
}

} // namespace

AdvFile::AdvFile() : m_pixelReader(std::make_unique<AdvPixelReader>()) {}
AdvFile::~AdvFile() = default;

std::string AdvFile::open(const std::string& path)
{
    std::string error;
    std::unique_ptr<ByteSource> source = FileSource::open(path, error);
    return source ? open(std::move(source)) : error;
}

std::string AdvFile::open(std::unique_ptr<ByteSource> source)
{
    m_source = std::move(source);
    m_header = {};
    m_index = {};
    m_userMetadata.clear();
    m_regions.clear();
    m_damage.clear();
    m_frames.clear();
    m_pixelReader = std::make_unique<AdvPixelReader>(); // one image size each
    if (std::string error = readHeader(*m_source, m_header, m_damage); !error.empty())
        return error;
    SFrameWalk walk = walkFrames(*m_source, m_header);
    m_frames = std::move(walk.frames);
    m_damage.insert(m_damage.end(), walk.damage.begin(), walk.damage.end());
    readTrailer();
    accountForBytes(walk.gaps);
    return {};
}

void AdvFile::readTrailer()
{
    uint64_t end = 0;
    std::string reason;
    if (m_header.indexOffset == 0) {
        m_damage.push_back({9, "no index: the recording was interrupted"});
    } else if (m_header.indexOffset < m_header.end) {
        m_damage.push_back({9, "the index is said to lie within the header"});
    } else if (readIndex(*m_source, m_header.indexOffset, m_frames.size(), m_index, end, reason)) {
        m_regions.push_back({EAdvRegion::Index, m_header.indexOffset, end - m_header.indexOffset});
    } else {
        m_damage.push_back({m_header.indexOffset, reason});
    }
    if (m_header.userMetadataOffset == 0)
        return;
    if (m_header.userMetadataOffset < m_header.end)
        m_damage.push_back({25, "the user metadata are said to lie within the header"});
    else if (readUserMetadata(*m_source, m_header.userMetadataOffset, m_userMetadata, end))
        m_regions.push_back({EAdvRegion::UserMetadata, m_header.userMetadataOffset, end - m_header.userMetadataOffset});
    else
        m_damage.push_back({m_header.userMetadataOffset, "the user metadata cannot be read"});
}

void AdvFile::accountForBytes(const std::vector<SAdvRegion>& gaps)
{
    std::vector<SAdvRegion> found = std::move(m_regions);
    found.push_back({EAdvRegion::Header, 0, m_header.end});
    found.insert(found.end(), gaps.begin(), gaps.end());
    for (const SAdvFrame& frame : m_frames) {
        SAdvRegion& last = found.back();
        if (last.kind == EAdvRegion::Frames && last.offset + last.length == frame.offset)
            last.length = frame.end() - last.offset;
        else
            found.push_back({EAdvRegion::Frames, frame.offset, frame.end() - frame.offset});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const SAdvRegion& a, const SAdvRegion& b) { return a.offset < b.offset; });
    found.push_back({EAdvRegion::Unaccounted, m_source->size(), 0}); // so that a rest at the end is seen as a hole
    m_regions.clear();
    uint64_t covered = 0;
    for (SAdvRegion region : found) {
        if (region.offset > covered) {
            const uint64_t hole = region.offset - covered;
            m_damage.push_back({covered, std::to_string(hole) + " bytes belong to nothing"});
            m_regions.push_back({EAdvRegion::Unaccounted, covered, hole});
        } else if (region.offset < covered && region.length > 0) {
            m_damage.push_back({region.offset, "parts of the file overlap"});
            const uint64_t end = std::max(covered, region.offset + region.length);
            region = {region.kind, covered, end - covered};
        }
        if (region.length > 0)
            m_regions.push_back(region);
        covered = std::max(covered, region.offset + region.length);
    }
}

const SAdvLayout* AdvFile::layoutOf(const SAdvFrame& frame) const
{
    for (const SAdvLayout& layout : m_header.image.layouts)
        if (layout.id == frame.layoutId)
            return &layout;
    return nullptr;
}

bool AdvFile::readPixels(size_t n, std::vector<uint16_t>& pixels, std::string& error)
{
    if (n >= m_frames.size()) {
        error = "there is no frame " + std::to_string(n) + ", the recording has " + std::to_string(m_frames.size());
        return false;
    }
    const SAdvLayout* layout = layoutOf(m_frames[n]);
    if (!layout)
        error = "its layout is not defined in the header";
    if (!layout || !m_pixelReader->read(*m_source, m_header.image, *layout, m_frames[n], pixels, error)) {
        error = "frame " + std::to_string(n) + " cannot be decoded: " + error;
        return false;
    }
    return true;
}

} // namespace obriadv
