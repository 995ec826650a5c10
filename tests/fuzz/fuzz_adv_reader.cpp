// Hostile recordings. Any bytes may be refused, none may crash, hang or claim much memory. Of what is accepted
// every byte is accounted for once, and its whole frames, written again as a repair does, are read back the same.
#include "AdvBytes.h"
#include "AdvFile.h"
#include "AdvInfo.h"
#include "AdvVerify.h"

#include <cstdlib>
#include <cstring>

using namespace obriadv;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort(); // not assert: optimised builds must notice too
}

void expectEveryByteOnce(const AdvFile& file, size_t size)
{
    uint64_t position = 0;
    for (const SAdvRegion& region : file.regions()) {
        require(region.offset == position && region.length > 0);
        position += region.length;
    }
    require(position == size);
}

void expectFramesInOrder(const AdvFile& file, size_t size)
{
    uint64_t end = file.header().end;
    for (const SAdvFrame& frame : file.frames()) {
        require(frame.offset >= end && frame.end() > frame.offset);
        require(frame.pixelOffset + frame.pixelBytes < frame.end());
        end = frame.end();
    }
    require(end <= size);
}

/// Pixels of small images only: a header may claim 64 million of them in a few bytes, which is allowed but slow.
void decodeSomeFrames(AdvFile& file)
{
    constexpr uint64_t sMostPixels = 1 << 16;
    if (uint64_t{file.width()} * file.height() > sMostPixels)
        return;
    std::vector<uint16_t> pixels;
    std::string error;
    for (size_t n = 0; n < file.frames().size() && n < 20; ++n) {
        const bool isRead = file.readPixels(n, pixels, error);
        require(isRead ? pixels.size() == size_t{file.width()} * file.height() : !error.empty());
    }
}

std::vector<uint8_t> writtenAgain(const AdvFile& file, const uint8_t* data)
{
    SAdvHeader header = file.header();
    std::vector<uint8_t> bytes = headerBytes(header);
    std::vector<SAdvFrame> frames = file.frames();
    for (SAdvFrame& frame : frames) {
        const uint8_t* const from = data + frame.offset;
        const uint64_t end = frame.end();
        const uint64_t at = bytes.size();
        bytes.insert(bytes.end(), from, data + end);
        frame.offset = at;
    }
    const uint64_t indexAt = bytes.size();
    uint64_t userMetadataAt = 0;
    const std::vector<uint8_t> trailer = trailerBytes(frames, file.userMetadata(), userMetadataAt);
    bytes.insert(bytes.end(), trailer.begin(), trailer.end());
    for (size_t i = 0; i < 8; ++i) {
        bytes[9 + i] = static_cast<uint8_t>(indexAt >> 8 * i);
        bytes[25 + i] = static_cast<uint8_t>((indexAt + userMetadataAt) >> 8 * i);
    }
    return bytes;
}

void expectSameAfterWriting(const AdvFile& file, const uint8_t* data)
{
    const auto& sections = file.header().sections;
    if (sections.size() != 2 || sections[0].name != "IMAGE" || sections[1].name != "STATUS")
        return;
    AdvFile again;
    require(again.open(std::make_unique<MemorySource>(writtenAgain(file, data))).empty());
    require(again.damage().empty() && again.frames().size() == file.frames().size());
    require(again.index().mainCount + again.index().calibrationCount == file.frames().size());
    for (size_t n = 0; n < file.frames().size(); ++n) {
        const SAdvFrame &a = file.frames()[n], &b = again.frames()[n];
        require(a.length == b.length && a.startNs == b.startNs && a.pixelBytes == b.pixelBytes &&
                a.status.present == b.status.present && a.status.gain == b.status.gain);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    AdvFile file;
    if (!file.open(std::make_unique<MemorySource>(std::vector<uint8_t>(data, data + size))).empty())
        return 0;
    expectEveryByteOnce(file, size);
    expectFramesInOrder(file, size);
    decodeSomeFrames(file);
    expectSameAfterWriting(file, data);
    require(!infoText(file, "fuzz").empty() && infoJson(file, "fuzz").back() == '\n');
    if (uint64_t{file.width()} * file.height() < 65536)
        require(!verifyRecording(file, "fuzz").text().empty());
    return 0;
}
