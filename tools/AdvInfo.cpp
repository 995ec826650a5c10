#include "AdvInfo.h"

#include "AdvSummary.h"
#include "AdvTime.h"
#include "AdvVerify.h"
#include "JsonWriter.h"
#include "SafeText.h"

#include "TextFormat.h"

#include <algorithm>
#include <cstdio>

namespace obriadv {

namespace {

using libobribase::formatFixed;

std::string line(const std::string& name, const std::string& value)
{
    std::string text = name;
    text.resize(std::max<size_t>(text.size() + 1, 14), ' ');
    return text + value + "\n";
}

std::string hex(uint8_t byte)
{
    char text[8];
    snprintf(text, sizeof text, "0x%02x", byte);
    return text;
}

std::string milliseconds(int64_t ns)
{
    return formatFixed(static_cast<double>(ns) / sNsPerMs, 3);
}

std::string layoutText(const SAdvLayout& layout)
{
    std::string text = std::to_string(layout.id) + ": " + std::to_string(layout.bitsPerPixel) + " bits, " +
                       (layout.isCompressed ? "Lagarith16" : "uncompressed");
    if (!layout.zones.empty())
        text += ", " + std::to_string(layout.zones.size()) + " regions";
    for (const SAdvZone& zone : layout.zones)
        text += ", " + std::to_string(zone.w) + " x " + std::to_string(zone.h) + " at " + std::to_string(zone.x) + "," +
                std::to_string(zone.y);
    return layout.isUsable ? text : text + ", not usable";
}

std::string gpsText(const SGpsSpan& span, const std::vector<SAdvFrame>& frames)
{
    return std::string(span.isFixed() ? "fix" : "no fix") + " (state " + hex(span.fixStatus) + "), " +
           std::to_string(span.fewestSatellites) + " to " + std::to_string(span.mostSatellites) +
           " satellites, frames " + std::to_string(span.first) + " to " + std::to_string(span.last) + ", from " +
           isoTime(frames[span.first].startNs);
}

std::string temperatureText(const SAdvSummary& summary)
{
    if (summary.temperatureReadings == 0)
        return "no reading";
    return "raw code " + formatFixed(summary.lowestTemperature, 5) + " to " +
           formatFixed(summary.highestTemperature, 5) + " in " + std::to_string(summary.temperatureReadings) +
           " frames";
}

std::string timesText(const SAdvSummary& summary)
{
    return line("first start", isoTime(summary.firstStartNs) + " UTC") +
           line("last end", isoTime(summary.lastEndNs) + " UTC") +
           line("rate", formatFixed(summary.framesPerSecond, 3) + " frames a second") +
           line("exposure",
                milliseconds(summary.shortestExposureNs) + " to " + milliseconds(summary.longestExposureNs) + " ms");
}

std::string framesText(const AdvFile& file, const SAdvSummary& summary)
{
    std::string text = line("frames", std::to_string(file.frames().size()));
    if (file.frames().empty())
        return text;
    if (summary.framesWithTime > 0)
        text += timesText(summary);
    if (const size_t without = file.frames().size() - summary.framesWithTime; without > 0)
        text += line("no valid time", "in " + std::to_string(without) + " frames");
    text +=
        line("gaps", std::to_string(summary.gaps.size()) + ", frames lost " + std::to_string(framesLost(summary.gaps)) +
                         (summary.hasCounter ? "" : " (by times alone)"));
    // A receiver that wavers fills no screen; --json has every change.
    constexpr size_t sMostShown = 20;
    for (size_t i = 0; i < summary.gps.size() && i < sMostShown; ++i)
        text += line("GPS", gpsText(summary.gps[i], file.frames()));
    if (summary.gps.size() > sMostShown)
        text += line("GPS", std::to_string(summary.gps.size() - sMostShown) + " more changes of state");
    return text + line("temperature", temperatureText(summary));
}

void tagsJson(JsonWriter& json, const char* key, const std::vector<SAdvTag>& tags)
{
    json.beginArray(key);
    for (const SAdvTag& tag : tags) {
        json.beginObject();
        json.text("name", tag.name);
        json.text("value", tag.value);
        json.endObject();
    }
    json.endArray();
}

void layoutsJson(JsonWriter& json, const std::vector<SAdvLayout>& layouts)
{
    json.beginArray("layouts");
    for (const SAdvLayout& layout : layouts) {
        json.beginObject();
        json.integer("id", layout.id);
        json.integer("bitsPerPixel", layout.bitsPerPixel);
        json.text("compression", layout.isCompressed ? "LAGARITH16" : "UNCOMPRESSED");
        json.boolean("usable", layout.isUsable);
        json.beginArray("regions");
        for (const SAdvZone& zone : layout.zones) {
            json.beginObject();
            json.integer("x", zone.x);
            json.integer("y", zone.y);
            json.integer("width", zone.w);
            json.integer("height", zone.h);
            json.endObject();
        }
        json.endArray();
        json.endObject();
    }
    json.endArray();
}

void gapsJson(JsonWriter& json, const AdvFile& file, const SAdvSummary& summary)
{
    json.beginArray("gaps");
    for (const SGap& gap : summary.gaps) {
        const SAdvFrame& before = file.frames()[gap.before];
        const SAdvFrame& behind = file.frames()[gap.before + 1];
        json.beginObject();
        json.integer("afterFrame", static_cast<int64_t>(gap.before));
        json.text("what", gapName(gap.kind));
        json.integer("missing", gap.missing);
        json.number("stepMs", static_cast<double>(gap.stepNs) / sNsPerMs, 3);
        json.integer("counterBefore", before.status.cameraFrameId);
        json.integer("counterBehind", behind.status.cameraFrameId);
        json.text("startBefore", isoTime(before.startNs));
        json.text("startBehind", isoTime(behind.startNs));
        json.endObject();
    }
    json.endArray();
}

void gpsJson(JsonWriter& json, const AdvFile& file, const SAdvSummary& summary)
{
    json.beginArray("gps");
    for (const SGpsSpan& span : summary.gps) {
        json.beginObject();
        json.integer("firstFrame", static_cast<int64_t>(span.first));
        json.integer("lastFrame", static_cast<int64_t>(span.last));
        json.text("from", isoTime(file.frames()[span.first].startNs));
        json.integer("fixStatus", span.fixStatus);
        json.boolean("fix", span.isFixed());
        json.integer("fewestSatellites", span.fewestSatellites);
        json.integer("mostSatellites", span.mostSatellites);
        json.endObject();
    }
    json.endArray();
}

void framesJson(JsonWriter& json, const AdvFile& file, const SAdvSummary& summary)
{
    json.integer("frames", static_cast<int64_t>(file.frames().size()));
    json.integer("framesWithTime", static_cast<int64_t>(summary.framesWithTime));
    if (summary.framesWithTime > 0) {
        json.text("firstStart", isoTime(summary.firstStartNs));
        json.text("lastEnd", isoTime(summary.lastEndNs));
        json.number("framesPerSecond", summary.framesPerSecond, 6);
        json.number("shortestExposureMs", static_cast<double>(summary.shortestExposureNs) / sNsPerMs, 6);
        json.number("longestExposureMs", static_cast<double>(summary.longestExposureNs) / sNsPerMs, 6);
    }
    json.boolean("cameraCounter", summary.hasCounter);
    json.integer("framesLost", static_cast<int64_t>(framesLost(summary.gaps)));
    gapsJson(json, file, summary);
    gpsJson(json, file, summary);
    json.beginObject("temperatureRawCode");
    json.integer("readings", static_cast<int64_t>(summary.temperatureReadings));
    if (summary.temperatureReadings > 0) {
        json.number("lowest", summary.lowestTemperature, 8);
        json.number("highest", summary.highestTemperature, 8);
    }
    json.endObject();
}

} // namespace

std::string infoText(const AdvFile& file, const std::string& name)
{
    const SAdvHeader& header = file.header();
    const SAdvSummary summary = summarise(file);
    std::string text = line("file", printable(name) + ", " + std::to_string(file.source().size()) + " bytes" +
                                        (summary.isInterrupted ? ", interrupted (repair completes it)" : ""));
    text += line("image", std::to_string(file.width()) + " x " + std::to_string(file.height()) + ", " +
                              std::to_string(header.image.bitsPerPixel) + " bits");
    for (const SAdvLayout& layout : header.image.layouts)
        text += line("layout", layoutText(layout));
    text += framesText(file, summary);
    for (const SAdvTag& tag : header.systemMetadata)
        text += line("metadata", printable(tag.name) + " = " + printable(tag.value));
    for (const SAdvTag& tag : file.userMetadata())
        text += line("user metadata", printable(tag.name) + " = " + printable(tag.value));
    for (const SAdvFinding& damage : file.damage())
        text += line("damage", "at byte " + std::to_string(damage.offset) + ": " + damage.text);
    return text;
}

std::string infoJson(const AdvFile& file, const std::string& name)
{
    const SAdvHeader& header = file.header();
    const SAdvSummary summary = summarise(file);
    JsonWriter json;
    json.beginObject();
    json.text("file", name);
    json.integer("bytes", static_cast<int64_t>(file.source().size()));
    json.boolean("interrupted", summary.isInterrupted);
    json.integer("width", file.width());
    json.integer("height", file.height());
    json.integer("bitsPerPixel", header.image.bitsPerPixel);
    layoutsJson(json, header.image.layouts);
    tagsJson(json, "imageTags", header.image.tags);
    tagsJson(json, "metadata", header.systemMetadata);
    tagsJson(json, "userMetadata", file.userMetadata());
    framesJson(json, file, summary);
    json.beginArray("damage");
    for (const SAdvFinding& damage : file.damage()) {
        json.beginObject();
        json.integer("byte", static_cast<int64_t>(damage.offset));
        json.text("text", damage.text);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.result();
}

} // namespace obriadv
