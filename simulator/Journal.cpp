#include "Journal.h"

#include "SceneText.h"

#include <cinttypes>
#include <cstdio>

namespace obrisim {

Journal::Journal(const SOptions& options, int64_t originNs)
    : m_frames(options.frameLog), m_commands(options.commandLog), m_keepFrames(options.keepFrames)
{
    writeHeader(options, originNs);
}

void Journal::writeHeader(const SOptions& options, int64_t originNs) const
{
    const SOccultation& event = options.occultation;
    m_frames.write("# origin " + std::to_string(originNs));
    m_frames.write("# seed " + std::to_string(options.seed));
    std::string targets = targetLines("# ");
    targets.pop_back(); // the log adds the last line end
    m_frames.write(targets);
    if (event.durationNs > 0)
        m_frames.write("# occultation " + std::to_string(originNs + event.startNs) + " " +
                       std::to_string(originNs + event.startNs + event.durationNs) + " " +
                       std::to_string(event.periodNs));
    m_frames.write("# frame sent|lost start end width height hash target [behind handled ran gap state]");
}

static std::string words(const std::optional<SBacklog>& loss)
{
    if (!loss)
        return {};
    char text[96];
    snprintf(text, sizeof text, " %" PRId64 " %" PRId64 " %" PRId64 " %" PRId64 " %c", loss->behindNs, loss->handled,
             loss->ranNs, loss->gapNs, loss->state);
    return text;
}

void Journal::frame(const SFrameRecord& r) const
{
    if (!m_frames.isOn())
        return;
    char text[160];
    snprintf(text, sizeof text, "%u %s %" PRId64 " %" PRId64 " %d %d %016" PRIx64 " ", r.frameId,
             r.sent ? "sent" : "lost", r.startNs, r.endNs, r.width, r.height, r.hash);
    m_frames.write(text + decimal(r.targetPart, 4) + words(r.loss));
}

void Journal::pixels(uint32_t frameId, const std::vector<uint16_t>& pixels) const
{
    if (!m_keepFrames.empty())
        writeFile(m_keepFrames + "/frame-" + std::to_string(frameId) + ".raw", pixels.data(), 2 * pixels.size());
}

void Journal::command(int64_t nowNs, std::span<const uint8_t> bytes, int outcome) const
{
    std::string line = std::to_string(nowNs);
    for (const uint8_t byte : bytes) {
        char hex[4];
        snprintf(hex, sizeof hex, " %02x", byte);
        line += hex;
    }
    m_commands.write(outcome ? line + " failed " + std::to_string(outcome) : line);
}

} // namespace obrisim
