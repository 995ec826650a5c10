#include "AdvBytes.h"

namespace obriadv {

namespace {

constexpr uint32_t sMagic = 0x46545346;
constexpr size_t sSystemMetadataAt = 17;

void writeStream(ByteBuilder& out, SAdvStream& stream)
{
    out.text(stream.name);
    stream.countAt = out.size();
    out.u32(stream.frameCount);
    out.u64(stream.clockFrequency);
    out.u32(stream.timingAccuracy);
    out.u64(stream.metadataOffset);
}

void writeTags(ByteBuilder& out, const std::vector<SAdvTag>& tags)
{
    for (const SAdvTag& tag : tags)
        out.tag(tag);
}

void writeImageSection(ByteBuilder& out, const SAdvImageSection& image)
{
    out.u8(image.version);
    out.u32(image.width);
    out.u32(image.height);
    out.u8(image.bitsPerPixel);
    out.u8(static_cast<uint8_t>(image.layouts.size()));
    for (const SAdvLayout& layout : image.layouts) {
        out.u8(layout.id);
        out.u8(layout.version);
        out.u8(layout.bitsPerPixel);
        out.u8(static_cast<uint8_t>(layout.tags.size()));
        writeTags(out, layout.tags);
    }
    out.u8(static_cast<uint8_t>(image.tags.size()));
    writeTags(out, image.tags);
}

void writeStatusSection(ByteBuilder& out, const SAdvStatusSection& status)
{
    out.u8(status.version);
    out.u64(status.accuracy);
    out.u8(static_cast<uint8_t>(status.tags.size()));
    for (const SAdvStatusTag& tag : status.tags) {
        out.text(tag.name);
        out.u8(tag.type);
    }
}

void writeIndexTable(ByteBuilder& out, const std::vector<SAdvFrame>& frames, uint8_t stream)
{
    const SAdvFrame* first = nullptr;
    ByteBuilder entries;
    uint32_t count = 0;
    for (const SAdvFrame& frame : frames) {
        if (frame.streamId != stream)
            continue;
        first = first ? first : &frame;
        entries.u64(indexTicks(*first, frame));
        entries.u64(frame.offset);
        entries.u32(static_cast<uint32_t>(frame.length));
        ++count;
    }
    out.u32(count);
    for (uint8_t byte : entries.bytes())
        out.u8(byte);
}

} // namespace

void ByteBuilder::integer(uint64_t value, int width)
{
    for (int i = 0; i < width; ++i, value >>= 8)
        m_bytes.push_back(static_cast<uint8_t>(value));
}

void ByteBuilder::text(const std::string& value)
{
    u16(static_cast<uint16_t>(value.size()));
    m_bytes.insert(m_bytes.end(), value.begin(), value.end());
}

void ByteBuilder::tag(const SAdvTag& tag)
{
    text(tag.name);
    text(tag.value);
}

void ByteBuilder::patchU64(size_t at, uint64_t value)
{
    for (size_t i = 0; i < 8; ++i, value >>= 8)
        m_bytes[at + i] = static_cast<uint8_t>(value);
}

uint64_t indexTicks(const SAdvFrame& first, const SAdvFrame& frame)
{
    const auto ns = static_cast<int64_t>(static_cast<uint64_t>(frame.startNs) - static_cast<uint64_t>(first.startNs));
    return static_cast<uint64_t>(ns / 100);
}

std::vector<uint8_t> headerBytes(SAdvHeader& header)
{
    ByteBuilder out;
    out.u32(sMagic);
    out.u8(header.version);
    out.u32(header.reserved);
    out.u64(0); // index
    out.u64(0); // system metadata, below
    out.u64(0); // user metadata
    out.u8(static_cast<uint8_t>(header.streams.size()));
    for (SAdvStream& stream : header.streams)
        writeStream(out, stream);
    out.u8(static_cast<uint8_t>(header.sections.size()));
    std::vector<size_t> sectionOffsetsAt;
    for (const SAdvSection& section : header.sections) {
        out.text(section.name);
        sectionOffsetsAt.push_back(out.size());
        out.u64(0);
    }
    for (size_t i = 0; i < header.sections.size(); ++i) {
        out.patchU64(sectionOffsetsAt[i], out.size());
        if (header.sections[i].name == "IMAGE")
            writeImageSection(out, header.image);
        else
            writeStatusSection(out, header.status);
    }
    out.patchU64(sSystemMetadataAt, out.size());
    out.u32(static_cast<uint32_t>(header.systemMetadata.size()));
    writeTags(out, header.systemMetadata);
    return out.bytes();
}

std::vector<uint8_t> trailerBytes(const std::vector<SAdvFrame>& frames, const std::vector<SAdvTag>& userMetadata,
                                  uint64_t& userMetadataAt)
{
    constexpr uint32_t sIndexHead = 1 + 4 + 4;
    ByteBuilder main, calibration, out;
    writeIndexTable(main, frames, 0);
    writeIndexTable(calibration, frames, 1);
    out.u8(2);
    out.u32(sIndexHead);
    out.u32(static_cast<uint32_t>(sIndexHead + main.size()));
    for (const ByteBuilder* table : {&main, &calibration})
        for (uint8_t byte : table->bytes())
            out.u8(byte);
    userMetadataAt = out.size();
    out.u32(static_cast<uint32_t>(userMetadata.size()));
    writeTags(out, userMetadata);
    return out.bytes();
}

} // namespace obriadv
