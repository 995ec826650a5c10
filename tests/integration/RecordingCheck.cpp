#include "RecordingCheck.h"

#include "AdvVerify.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <unordered_map>

namespace {

int64_t overlayTime(int64_t unixNs)
{
    constexpr int64_t sNsPerMs = 1'000'000, sUnixNsOf2010 = 1'262'304'000'000'000'000;
    return (unixNs / sNsPerMs) * sNsPerMs - sUnixNsOf2010;
}

/// FNV-1a, 64 bits, over the pixels' little-endian bytes: what the frame log holds.
uint64_t hashOf(const std::vector<uint16_t>& pixels)
{
    uint64_t hash = 0xcbf29ce484222325;
    for (const uint16_t pixel : pixels) {
        hash = (hash ^ (pixel & 0xff)) * 0x100000001b3;
        hash = (hash ^ (pixel >> 8)) * 0x100000001b3;
    }
    return hash;
}

void compareFrame(obriadv::AdvFile& file, size_t n, const SCameraFrame& sent, EPixels expected,
                  std::vector<std::string>& findings)
{
    const obriadv::SAdvFrame& frame = file.frames()[n];
    const auto expect = [&](bool isRight, const std::string& fault) {
        if (!isRight)
            findings.push_back("frame " + std::to_string(n) + " (camera " + std::to_string(sent.id) + "): " + fault);
    };
    expect(sent.sent, "the camera never sent it");
    expect(frame.startNs == sent.startNs && frame.endNs == sent.endNs, "other times than sent");
    expect(frame.status.systemTimeNs == sent.startNs, "system time is not the start of the exposure");
    std::vector<uint16_t> pixels;
    std::string error;
    const bool isRead = file.readPixels(n, pixels, error);
    expect(isRead, error);
    expect(!isRead || expected == EPixels::MayBeStamped || hashOf(pixels) == sent.hash, "other pixels than sent");
}

} // namespace

std::map<uint32_t, SCameraFrame> parseFrameLog(const std::vector<std::string>& lines)
{
    std::map<uint32_t, SCameraFrame> frames;
    for (const std::string& line : lines) {
        std::istringstream words(line);
        SCameraFrame frame;
        std::string fate;
        int64_t start = 0, end = 0;
        if (!(words >> frame.id >> fate >> start >> end >> frame.width >> frame.height >> std::hex >> frame.hash))
            throw std::runtime_error("frame log: " + line);
        frame.sent = fate == "sent";
        frame.startNs = overlayTime(start);
        frame.endNs = overlayTime(end);
        frames[frame.id] = frame;
    }
    return frames;
}

std::vector<std::string> differences(const std::filesystem::path& recording,
                                     const std::map<uint32_t, SCameraFrame>& camera, EPixels pixels)
{
    obriadv::AdvFile file;
    if (const std::string error = file.open(recording); !error.empty())
        return {error};
    std::vector<std::string> findings = obriadv::verifyRecording(file, recording).findings;
    for (size_t n = 0; n < file.frames().size(); ++n) {
        const uint32_t id = file.frames()[n].status.cameraFrameId;
        const auto sent = camera.find(id);
        if (sent == camera.end()) {
            findings.push_back("frame " + std::to_string(n) + ": the camera made none of number " + std::to_string(id));
            continue;
        }
        compareFrame(file, n, sent->second, pixels, findings);
        if (n > 0 && id <= file.frames()[n - 1].status.cameraFrameId)
            findings.push_back("frame " + std::to_string(n) + " is out of order");
        else if (n > 0)
            for (auto lost = camera.upper_bound(file.frames()[n - 1].status.cameraFrameId); lost != sent; ++lost)
                if (lost->second.sent)
                    findings.push_back("camera frame " + std::to_string(lost->first) + " was sent and is missing");
    }
    findings.resize(std::min(findings.size(), size_t{20})); // a fault repeats for every frame
    return findings;
}

size_t framesIn(const std::filesystem::path& recording)
{
    obriadv::AdvFile file;
    return file.open(recording).empty() ? file.frames().size() : 0;
}

SHeld framesHeld(const std::filesystem::path& recording, const std::map<uint32_t, SCameraFrame>& camera)
{
    SHeld held;
    std::unordered_map<uint64_t, uint32_t> idOf;
    for (const auto& [id, frame] : camera)
        if (frame.sent)
            idOf[frame.hash] = id;

    obriadv::AdvFile file;
    std::string error = file.open(recording);
    if (!error.empty())
        return {.strangers = {error}};
    held.frames = file.frames().size();
    std::vector<uint16_t> pixels;
    for (size_t n = 0; n < held.frames; ++n) {
        const auto sent = file.readPixels(n, pixels, error) ? idOf.find(hashOf(pixels)) : idOf.end();
        if (sent == idOf.end() || (held.span && sent->second <= held.span->second))
            held.strangers.push_back("frame " + std::to_string(n));
        else
            held.span = {held.span ? held.span->first : sent->second, sent->second};
    }
    if (!held.span)
        return held;
    size_t sent = 0;
    for (auto at = camera.find(held.span->first); at != camera.upper_bound(held.span->second); ++at)
        ++(at->second.sent ? sent : held.lostByCamera);
    held.missing = sent + held.strangers.size() - held.frames;
    return held;
}
