#include "AdvSummary.h"

#include "AdvTime.h"
#include "AdvVerify.h"

#include <algorithm>

namespace obriadv {

namespace {

constexpr float sNoReading = -999.0f;

std::vector<SGpsSpan> gpsSpans(const std::vector<SAdvFrame>& frames)
{
    std::vector<SGpsSpan> spans;
    for (size_t i = 0; i < frames.size(); ++i) {
        const SAdvStatus& status = frames[i].status;
        if (spans.empty() || spans.back().fixStatus != status.fixStatus)
            spans.push_back({i, i, status.fixStatus, status.satellites, status.satellites});
        SGpsSpan& span = spans.back();
        span.last = i;
        span.fewestSatellites = std::min(span.fewestSatellites, status.satellites);
        span.mostSatellites = std::max(span.mostSatellites, status.satellites);
    }
    return spans;
}

void summariseTimes(const std::vector<SAdvFrame>& frames, SAdvSummary& summary)
{
    summary.firstStartNs = frames.front().startNs;
    summary.lastEndNs = frames.back().endNs;
    const double seconds =
        (static_cast<double>(frames.back().startNs) - static_cast<double>(frames.front().startNs)) / sNsPerSecond;
    if (frames.size() > 1 && seconds > 0)
        summary.framesPerSecond = static_cast<double>(frames.size() - 1) / seconds;
    const auto exposure = [](const SAdvFrame& frame) {
        return static_cast<int64_t>(static_cast<uint64_t>(frame.endNs) - static_cast<uint64_t>(frame.startNs));
    };
    summary.shortestExposureNs = summary.longestExposureNs = exposure(frames.front());
    for (const SAdvFrame& frame : frames) {
        summary.shortestExposureNs = std::min(summary.shortestExposureNs, exposure(frame));
        summary.longestExposureNs = std::max(summary.longestExposureNs, exposure(frame));
    }
}

void summariseTemperature(const std::vector<SAdvFrame>& frames, SAdvSummary& summary)
{
    for (const SAdvFrame& frame : frames) {
        const float code = frame.status.temperature;
        if (!frame.status.has(EAdvStatus::Temperature) || code == sNoReading)
            continue;
        const bool isFirst = summary.temperatureReadings++ == 0;
        summary.lowestTemperature = isFirst ? code : std::min(summary.lowestTemperature, code);
        summary.highestTemperature = isFirst ? code : std::max(summary.highestTemperature, code);
    }
}

} // namespace

SAdvSummary summarise(const AdvFile& file)
{
    SAdvSummary summary;
    summary.isInterrupted = file.header().indexOffset == 0;
    const std::vector<SAdvFrame>& frames = file.frames();
    if (frames.empty())
        return summary;
    summariseTimes(frames, summary);
    summariseTemperature(frames, summary);
    summary.hasCounter = hasCounter(frames);
    summary.gaps = findGaps(frameTimes(frames), summary.hasCounter);
    summary.gps = gpsSpans(frames);
    return summary;
}

} // namespace obriadv
