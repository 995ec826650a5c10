#include "AdvCopy.h"

#include "AdvBytes.h"

#include <algorithm>

namespace obriadv {

namespace {

constexpr uint64_t sIndexOffsetAt = 9;
constexpr uint64_t sUserMetadataOffsetAt = 25;

void patch(NewFile& out, uint64_t at, uint64_t value, int width)
{
    uint8_t bytes[8];
    for (int i = 0; i < width; ++i)
        bytes[i] = static_cast<uint8_t>(value >> 8 * i);
    out.patch(at, bytes, static_cast<size_t>(width));
}

} // namespace

bool copyBytes(const ByteSource& from, uint64_t offset, uint64_t length, NewFile& out)
{
    std::vector<uint8_t> chunk(static_cast<size_t>(std::min<uint64_t>(length, size_t{1} << 20)));
    while (length > 0) {
        const auto part = static_cast<size_t>(std::min<uint64_t>(length, chunk.size()));
        if (!from.read(offset, chunk.data(), part))
            return false;
        out.write(chunk.data(), part);
        offset += part;
        length -= part;
    }
    return true;
}

std::string writeStart(NewFile& out, SAdvHeader& header)
{
    const bool isPlain =
        header.sections.size() == 2 && header.sections[0].name == "IMAGE" && header.sections[1].name == "STATUS";
    if (!isPlain)
        return "the recording has sections that are not known";
    const std::vector<uint8_t> bytes = headerBytes(header);
    out.write(bytes.data(), bytes.size());
    return {};
}

void writeEnd(NewFile& out, const SAdvHeader& header, const std::vector<SAdvFrame>& frames,
              const std::vector<SAdvTag>& userMetadata)
{
    const uint64_t indexAt = out.position();
    uint64_t userMetadataAt = 0;
    const std::vector<uint8_t> trailer = trailerBytes(frames, userMetadata, userMetadataAt);
    out.write(trailer.data(), trailer.size());
    patch(out, sIndexOffsetAt, indexAt, 8);
    patch(out, sUserMetadataOffsetAt, indexAt + userMetadataAt, 8);
    for (size_t i = 0; i < header.streams.size(); ++i) {
        const auto count =
            std::count_if(frames.begin(), frames.end(), [&](const SAdvFrame& frame) { return frame.streamId == i; });
        patch(out, header.streams[i].countAt, static_cast<uint64_t>(count), 4);
    }
}

} // namespace obriadv
