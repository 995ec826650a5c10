#include "AdvFrameWalker.h"

#include "ByteCursor.h"

#include <algorithm>

namespace obriadv {

namespace {

// A frame record, from its first byte; integers little-endian:
//    0      u32  magic, bytes FF 22 01 EE
//    4      u8   stream: 0 main, 1 calibration
//    5      u64  start of exposure, ns since 2010
//   13      u64  end of exposure
//   21      u32  N, bytes of the image section
//   25      u8   layout id
//   26      u8   0
//   27           N - 2 pixel bytes
//   25 + N  u32  M, bytes of the status section
//   then    u64  mid-exposure, u32 exposure in ns, u8 number of entries, the entries
constexpr uint32_t sFrameMagic = 0xEE0122FF;
constexpr uint8_t sFrameMagicBytes[] = {0xFF, 0x22, 0x01, 0xEE};
constexpr uint32_t sImagePrefix = 1 + 1;
constexpr uint32_t sStatusPrefix = 8 + 4 + 1;
constexpr uint32_t sLongestStatus = 1024 * 1024; // twelve entries take some 70 bytes, a text up to 32 KB
constexpr size_t sMostFrames = size_t{1} << 24;  // nine hours at 500 frames a second
constexpr size_t sMostFindings = 1000;

struct SValue {
    uint64_t number = 0;
    float real = 0;
    std::string text;
};

struct SKnownEntry {
    const char* name;
    EAdvType type;
    void (*store)(SAdvStatus&, SValue&);
};

// In the order of EAdvStatus.
constexpr SKnownEntry sKnown[] = {
    {"Gain", EAdvType::Text, [](SAdvStatus& s, SValue& v) { s.gain = std::move(v.text); }},
    {"SystemTime", EAdvType::Uint64, [](SAdvStatus& s, SValue& v) { s.systemTimeNs = static_cast<int64_t>(v.number); }},
    {"VideoCameraFrameId", EAdvType::Uint32,
     [](SAdvStatus& s, SValue& v) { s.cameraFrameId = static_cast<uint32_t>(v.number); }},
    {"TrackedSatellites", EAdvType::Uint8,
     [](SAdvStatus& s, SValue& v) { s.satellites = static_cast<uint8_t>(v.number); }},
    {"FixStatus", EAdvType::Uint8, [](SAdvStatus& s, SValue& v) { s.fixStatus = static_cast<uint8_t>(v.number); }},
    {"Temperature", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.temperature = v.real; }},
    {"DOPTime", EAdvType::Uint32, [](SAdvStatus& s, SValue& v) { s.dopTime = static_cast<uint32_t>(v.number); }},
    {"GDOP", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.gdop = v.real; }},
    {"PDOP", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.pdop = v.real; }},
    {"TDOP", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.tdop = v.real; }},
    {"VDOP", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.vdop = v.real; }},
    {"HDOP", EAdvType::Float32, [](SAdvStatus& s, SValue& v) { s.hdop = v.real; }},
};
static_assert(std::size(sKnown) == static_cast<size_t>(EAdvStatus::Count));

int knownEntry(const SAdvStatusTag& tag)
{
    for (size_t i = 0; i < std::size(sKnown); ++i)
        if (tag.name == sKnown[i].name && tag.type == static_cast<uint8_t>(sKnown[i].type))
            return static_cast<int>(i);
    return -1;
}

bool readValue(ByteCursor& in, uint8_t type, SValue& value)
{
    switch (static_cast<EAdvType>(type)) {
    case EAdvType::Uint8:
        value.number = in.u8();
        return in.ok();
    case EAdvType::Uint16:
        value.number = in.u16();
        return in.ok();
    case EAdvType::Uint32:
        value.number = in.u32();
        return in.ok();
    case EAdvType::Uint64:
        value.number = in.u64();
        return in.ok();
    case EAdvType::Float32:
        value.real = in.f32();
        return in.ok();
    case EAdvType::Text:
        value.text = in.text();
        return in.ok();
    }
    return false;
}

class Walker {
public:
    Walker(const ByteSource& source, const SAdvHeader& header) : m_source(source), m_header(header)
    {
        for (const SAdvStatusTag& tag : header.status.tags)
            m_known.push_back(knownEntry(tag));
    }

    SFrameWalk walk();

private:
    bool readRecord(uint64_t offset, SAdvFrame& frame);
    bool readImageHead(ByteCursor& in, SAdvFrame& frame);
    bool readStatusSection(ByteCursor& in, SAdvFrame& frame);
    bool readEntries(ByteCursor& in, SAdvStatus& status);
    uint64_t findRecord(uint64_t from, uint64_t to);
    uint64_t skipDamage(uint64_t from, SFrameWalk& found);
    bool fail(const char* reason);

    const ByteSource& m_source;
    const SAdvHeader& m_header;
    std::string m_reason;     // why the last readRecord failed
    std::vector<int> m_known; // for each status tag of the header its EAdvStatus, or -1
};

bool Walker::fail(const char* reason)
{
    m_reason = reason;
    return false;
}

bool Walker::readEntries(ByteCursor& in, SAdvStatus& status)
{
    const uint8_t count = in.u8();
    for (int i = 0; i < count; ++i) {
        const uint8_t tag = in.u8();
        SValue value;
        if (!in.ok() || tag >= m_header.status.tags.size() || !readValue(in, m_header.status.tags[tag].type, value))
            return false;
        if (m_known[tag] < 0)
            continue;
        sKnown[m_known[tag]].store(status, value);
        status.present.set(static_cast<size_t>(m_known[tag]));
    }
    return in.ok() && in.left() == 0;
}

/// Everything up to the pixels, which are passed over.
bool Walker::readImageHead(ByteCursor& in, SAdvFrame& frame)
{
    if (in.u32() != sFrameMagic)
        return fail(in.ok() ? "no frame record begins here" : "a frame record is cut short");
    frame.streamId = in.u8();
    frame.startNs = static_cast<int64_t>(in.u64());
    frame.endNs = static_cast<int64_t>(in.u64());
    const uint32_t imageBytes = in.u32();
    frame.layoutId = in.u8();
    frame.layoutByte = in.u8();
    frame.pixelOffset = in.position();
    if (!in.ok())
        return fail("a frame record is cut short");
    if (frame.streamId > 1 || imageBytes < sImagePrefix)
        return fail("a frame record is damaged: its stream or its image length is impossible");
    frame.pixelBytes = imageBytes - sImagePrefix;
    in.skip(frame.pixelBytes);
    return true;
}

bool Walker::readStatusSection(ByteCursor& in, SAdvFrame& frame)
{
    const uint32_t statusBytes = in.u32();
    if (!in.ok() || statusBytes > in.left())
        return fail("a frame record is cut short, or its lengths are wrong");
    if (statusBytes < sStatusPrefix || statusBytes > sLongestStatus)
        return fail("a frame record is damaged: its status length is impossible");
    ByteCursor status(m_source, in.position(), in.position() + statusBytes);
    frame.midNs = status.u64();
    frame.durationNs = status.u32();
    if (!readEntries(status, frame.status))
        return fail("a frame record is damaged: its status entries do not fill its status section");
    frame.length = status.position() - frame.offset - sizeof sFrameMagicBytes;
    return true;
}

bool Walker::readRecord(uint64_t offset, SAdvFrame& frame)
{
    ByteCursor in(m_source, offset, m_source.size());
    frame.offset = offset;
    return readImageHead(in, frame) && readStatusSection(in, frame);
}

uint64_t Walker::findRecord(uint64_t from, uint64_t to)
{
    constexpr size_t sOverlap = sizeof sFrameMagicBytes - 1;
    std::vector<uint8_t> chunk(size_t{1} << 18);
    while (from < to) {
        const auto length = static_cast<size_t>(std::min<uint64_t>(chunk.size(), to - from));
        if (length <= sOverlap || !m_source.read(from, chunk.data(), length))
            return to;
        const uint8_t* const end = chunk.data() + length;
        for (const uint8_t* at = chunk.data(); at < end; ++at) {
            at = std::search(at, end, std::begin(sFrameMagicBytes), std::end(sFrameMagicBytes));
            SAdvFrame frame;
            if (at < end && readRecord(from + static_cast<uint64_t>(at - chunk.data()), frame))
                return frame.offset;
        }
        from += length - sOverlap;
    }
    return to;
}

/// Notes a gap from here to the next whole record, or to where none can follow, and tells where that is.
uint64_t Walker::skipDamage(uint64_t from, SFrameWalk& found)
{
    const bool isFull = found.frames.size() >= sMostFrames;
    const std::string reason = isFull ? "more frames than can be read in one recording" : m_reason;
    const bool isIndexAhead = m_header.indexOffset > from && m_header.indexOffset <= m_source.size();
    const uint64_t limit = isIndexAhead ? m_header.indexOffset : m_source.size();
    const bool isHopeless = isFull || found.damage.size() >= sMostFindings;
    const uint64_t next = isHopeless ? limit : findRecord(from + 1, limit);
    found.gaps.push_back({EAdvRegion::Unaccounted, from, next - from});
    found.damage.push_back({from, reason + " (" + std::to_string(next - from) + " bytes skipped)"});
    return next;
}

SFrameWalk Walker::walk()
{
    SFrameWalk found;
    uint64_t position = m_header.end;
    while (position < m_source.size() && position != m_header.indexOffset) {
        SAdvFrame frame;
        if (found.frames.size() < sMostFrames && readRecord(position, frame)) {
            position = frame.end();
            found.frames.push_back(std::move(frame));
        } else {
            position = skipDamage(position, found);
        }
    }
    return found;
}

} // namespace

SFrameWalk walkFrames(const ByteSource& source, const SAdvHeader& header)
{
    return Walker(source, header).walk();
}

} // namespace obriadv
