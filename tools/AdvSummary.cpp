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

bool hasTime(const SAdvFrame& frame)
{
    return isPlausibleTime(frame.startNs) && isPlausibleTime(frame.endNs) && frame.endNs >= frame.startNs;
}

void summariseTimes(const std::vector<SAdvFrame>& frames, SAdvSummary& summary)
{
    size_t first = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        const SAdvFrame& frame = frames[i];
        if (!hasTime(frame))
            continue;
        const int64_t exposure = frame.endNs - frame.startNs;
        if (summary.framesWithTime++ == 0) {
            first = i;
            summary.firstStartNs = frame.startNs;
            summary.shortestExposureNs = summary.longestExposureNs = exposure;
        }
        summary.lastEndNs = frame.endNs;
        summary.shortestExposureNs = std::min(summary.shortestExposureNs, exposure);
        summary.longestExposureNs = std::max(summary.longestExposureNs, exposure);
        const double seconds = static_cast<double>(frame.startNs - summary.firstStartNs) / sNsPerSecond;
        summary.framesPerSecond = seconds > 0 ? static_cast<double>(i - first) / seconds : 0;
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
