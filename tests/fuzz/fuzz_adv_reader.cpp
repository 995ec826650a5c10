// Hostile recordings. Any bytes may be refused, none may crash, hang or claim much memory. Of what is accepted
// every byte is accounted for once, and info and verdict can be told.
#include "AdvFile.h"
#include "AdvInfo.h"
#include "AdvVerify.h"
#include "Require.h"

#include <memory>

using namespace obriadv;

namespace {

void expectEveryByteOnceAndFramesInOrder(const AdvFile& file, size_t size)
{
    uint64_t position = 0, end = file.header().end;
    for (const SAdvRegion& region : file.regions()) {
        require(region.offset == position && region.length > 0);
        position += region.length;
    }
    require(position == size);
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
        if (!isRead)
            continue;
        for (const SAdvZone& zone : file.layoutOf(file.frames()[n])->zones)
            require(uint64_t{zone.x} + zone.w <= file.width() && uint64_t{zone.y} + zone.h <= file.height());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    AdvFile file;
    if (!file.open(std::make_unique<MemorySource>(std::vector<uint8_t>(data, data + size))).empty())
        return 0;
    expectEveryByteOnceAndFramesInOrder(file, size);
    decodeSomeFrames(file);
    require(!infoText(file, "fuzz").empty() && infoJson(file, "fuzz").back() == '\n');
    if (uint64_t{file.width()} * file.height() < 65536)
        require(!verifyRecording(file, "fuzz").text().empty());
    return 0;
}
