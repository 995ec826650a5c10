#include "FrameComposer.h"

#include "Packer.h"
#include "TextLine.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace obrisim {

static std::string clockText(int64_t ns)
{
    const time_t second = ns / 1'000'000'000;
    tm utc{};
    gmtime_r(&second, &utc);
    char text[32];
    snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", utc.tm_hour, utc.tm_min, utc.tm_sec,
             static_cast<int>(ns / 1'000'000 % 1000));
    return text;
}

FrameComposer::FrameComposer(SSky sky, uint64_t seed) : m_renderer(std::move(sky), seed), m_row(sSensorWidth) {}

void FrameComposer::composeBinaryRow(const SOverlay& overlay)
{
    std::ranges::fill(m_row, uint16_t{0});
    encodeOverlay(overlay, std::span<uint16_t, sOverlayWords>(m_row.data(), sOverlayWords));
}

void FrameComposer::composeRow(const SFrameJob& job, int row)
{
    const SSensorMode& mode = *job.mode;
    if (row == mode.height - 1)
        return composeBinaryRow(job.overlay);
    m_renderer.renderRow(row, m_row.data());
    const int scale = bottomRows(mode) / (sTextHeight + 1);
    const int textRow = row - (mode.height - 1 - sTextHeight * scale);
    if (!job.overlay.settings.binaryOnly && textRow >= 0)
        drawTextRow(m_text, textRow, scale, m_row.data(), mode.width);
}

void FrameComposer::follow(int count)
{
    if (m_keepHash)
        m_hash = hashPixels(m_hash, m_row.data(), count);
    if (m_keepPixels)
        std::transform(m_row.begin(), m_row.begin() + count, std::back_inserter(m_pixels),
                       [](uint16_t sample) { return static_cast<uint16_t>(sample << 4); });
}

void FrameComposer::compose(const SFrameJob& job, uint8_t* bytes)
{
    const SSensorMode& mode = *job.mode;
    m_hash = sFnvBasis;
    m_pixels.clear();
    m_text = clockText(job.overlay.startNs) + "-" + clockText(job.overlay.endNs);
    m_renderer.prepare(mode, job.overlay.settings);
    m_renderer.beginFrame(job.overlay.frameId, job.targetPart);
    const auto write = mode.isPacked() ? packSamples : spreadSamples;
    for (int row = 0; row < mode.height; ++row, bytes += size_t{2} * mode.words) {
        composeRow(job, row);
        follow(mode.width);
        write(m_row.data(), mode.width, bytes);
    }
}

} // namespace obrisim
