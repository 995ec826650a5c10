#include "AdvVerify.h"

#include "AdvBytes.h"
#include "AdvHeaderReader.h"
#include "AdvTime.h"
#include "Progress.h"
#include "SafeText.h"

#include <algorithm>

namespace obriadv {

namespace {

/// Collects the frames that one and the same thing is wrong with, and makes one line of them.
class FrameFinding {
public:
    explicit FrameFinding(const char* text) : m_text(text) {}

    void add(size_t frame)
    {
        if (m_count++ < sShown)
            m_frames += (m_frames.empty() ? "" : ", ") + std::to_string(frame);
    }

    void report(std::vector<std::string>& findings) const
    {
        if (m_count == 0)
            return;
        const std::string rest = m_count > sShown ? " and " + std::to_string(m_count - sShown) + " more" : "";
        findings.push_back(std::string(m_text) + ": frame " + m_frames + rest);
    }

private:
    static constexpr size_t sShown = 8;
    const char* m_text;
    std::string m_frames;
    size_t m_count = 0;
};

bool isSameOrWrapped(uint64_t claim, uint64_t value)
{
    return claim == value || claim == (value & 0xFFFFFFFF);
}

void checkIndex(const AdvFile& file, SVerifyReport& report)
{
    const SAdvIndex& index = file.index();
    const auto& frames = file.frames();
    if (!index.isPresent)
        return; // said among the damage

    std::vector<size_t> main; // numbers of the main stream's frames, which the entries stand for
    for (size_t i = 0; i < frames.size(); ++i)
        if (frames[i].streamId == 0)
            main.push_back(i);
    const size_t listed = size_t{index.mainCount} + index.calibrationCount;
    if (index.mainCount != main.size() || listed != frames.size())
        report.findings.push_back("the index lists " + plural(listed, "frame") + ", the file holds " +
                                  std::to_string(frames.size()));
    FrameFinding wrong("the index entry does not fit the frame record");
    size_t firstWrapped = frames.size();
    for (size_t n = 0; n < std::min(index.entries.size(), main.size()); ++n) {
        const SAdvIndexEntry& entry = index.entries[n];
        const size_t i = main[n];
        const uint64_t ticks = indexTicks(frames[main[0]], frames[i]);
        const bool isRight = isSameOrWrapped(entry.ticks, ticks) && isSameOrWrapped(entry.offset, frames[i].offset) &&
                             entry.length == frames[i].length;
        if (!isRight)
            wrong.add(i);
        else if (entry.ticks != ticks || entry.offset != frames[i].offset)
            firstWrapped = std::min(firstWrapped, i);
    }
    wrong.report(report.findings);
    if (firstWrapped < frames.size())
        report.notes.push_back(
            "from frame " + std::to_string(firstWrapped) +
            " on the index holds only the low 32 bits of offsets or times (repair writes them whole)");
}

void checkCounts(const AdvFile& file, SVerifyReport& report)
{
    std::vector<size_t> found(file.header().streams.size());
    FrameFinding unknownStream("the frame belongs to no stream of the header");
    for (size_t i = 0; i < file.frames().size(); ++i) {
        const uint8_t stream = file.frames()[i].streamId;
        if (stream < found.size())
            ++found[stream];
        else
            unknownStream.add(i);
    }
    unknownStream.report(report.findings);
    for (size_t i = 0; i < found.size(); ++i) {
        const SAdvStream& stream = file.header().streams[i];
        if (stream.frameCount != found[i])
            report.findings.push_back("stream " + printable(stream.name) + " claims " +
                                      plural(stream.frameCount, "frame") + ", the file holds " +
                                      std::to_string(found[i]));
    }
}

bool hasAllEntries(const SAdvHeader& header, const SAdvStatus& status)
{
    return status.present.count() == std::min<size_t>(header.status.tags.size(), status.present.size());
}

void checkFrames(const AdvFile& file, SVerifyReport& report)
{
    FrameFinding noTime("no valid time"), endFirst("the exposure ends before it starts"),
        mid("the stored mid-exposure is not the middle of start and end"),
        duration("the stored exposure is not the time from start to end"), layout("the layout is not defined"),
        size("the pixel block does not have the size of its layout"), entries("status entries are missing");
    for (size_t i = 0; i < file.frames().size(); ++i) {
        const SAdvFrame& frame = file.frames()[i];
        const auto start = static_cast<uint64_t>(frame.startNs), end = static_cast<uint64_t>(frame.endNs);
        if (!isPlausibleTime(frame.startNs) || !isPlausibleTime(frame.endNs))
            noTime.add(i);
        else if (frame.endNs < frame.startNs)
            endFirst.add(i);
        if (frame.midNs != (start + end) >> 1)
            mid.add(i);
        if (frame.durationNs != static_cast<uint32_t>(end - start))
            duration.add(i);
        const SAdvLayout* of = file.layoutOf(frame);
        if (!of)
            layout.add(i);
        else if (!of->isCompressed && frame.pixelBytes != rawBytes(file.header().image, *of))
            size.add(i);
        if (!hasAllEntries(file.header(), frame.status))
            entries.add(i);
    }
    for (const FrameFinding* finding : {&noTime, &endFirst, &mid, &duration, &layout, &size, &entries})
        finding->report(report.findings);
}

void checkCompressedBlocks(AdvFile& file, SVerifyReport& report)
{
    FrameFinding damaged("the compressed block cannot be decoded");
    Progress progress("verifying", file.frames().size());
    std::vector<uint16_t> pixels;
    for (size_t i = 0; i < file.frames().size(); ++i) {
        const SAdvLayout* layout = file.layoutOf(file.frames()[i]);
        std::string error;
        if (layout && layout->isCompressed && !file.readPixels(i, pixels, error))
            damaged.add(i);
        progress.show(i);
    }
    damaged.report(report.findings);
}

void checkTimes(const AdvFile& file, SVerifyReport& report)
{
    const std::vector<SFrameTime> times = frameTimes(file.frames());
    const bool isCounted = hasCounter(file.frames());
    if (!isCounted && times.size() > 1)
        report.findings.push_back("the frames carry no running camera counter; loss is judged by their times");
    report.gaps = findGaps(times, isCounted);
    report.gapTable = gapTable(report.gaps, times, isCounted);
}

uint64_t bytesOf(const AdvFile& file, EAdvRegion kind)
{
    uint64_t sum = 0;
    for (const SAdvRegion& region : file.regions())
        sum += region.kind == kind ? region.length : 0;
    return sum;
}

std::string accountOfBytes(const AdvFile& file)
{
    return plural(file.source().size(), "byte") + ": header " + std::to_string(bytesOf(file, EAdvRegion::Header)) +
           ", frames " + std::to_string(bytesOf(file, EAdvRegion::Frames)) + ", index " +
           std::to_string(bytesOf(file, EAdvRegion::Index)) + ", user metadata " +
           std::to_string(bytesOf(file, EAdvRegion::UserMetadata)) + ", not accounted for " +
           std::to_string(bytesOf(file, EAdvRegion::Unaccounted));
}

std::string verdictOf(const AdvFile& file, const std::string& name, const SVerifyReport& report)
{
    const uint64_t unaccounted = bytesOf(file, EAdvRegion::Unaccounted);
    return verdictStart(name, report) + plural(file.frames().size(), "frame") + ", " + lossText(report.gaps) + ", " +
           (unaccounted == 0 ? "every byte accounted for" : plural(unaccounted, "byte") + " not accounted for");
}

} // namespace

std::string plural(uint64_t count, const std::string& one)
{
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string verdictStart(const std::string& name, const SVerifyReport& report)
{
    const size_t count = report.findings.size() + report.gaps.size();
    return name + ": " + (count == 0 ? "OK" : plural(count, "finding")) + ", ";
}

std::string lossText(const std::vector<SGap>& gaps)
{
    const uint64_t lost = framesLost(gaps);
    return lost == 0 ? "no frame lost" : plural(lost, "frame") + " lost";
}

std::string SVerifyReport::text() const
{
    std::string text = verdict + "\n";
    for (const std::string& finding : findings)
        text += "  finding: " + finding + "\n";
    for (const std::string& note : notes)
        text += "  note: " + note + "\n";
    return text + gapTable;
}

std::vector<SFrameTime> frameTimes(const std::vector<SAdvFrame>& frames)
{
    std::vector<SFrameTime> times;
    times.reserve(frames.size());
    for (const SAdvFrame& frame : frames)
        times.push_back({frame.startNs, frame.endNs, frame.status.cameraFrameId});
    return times;
}

bool hasCounter(const std::vector<SAdvFrame>& frames)
{
    bool isMoving = false;
    for (const SAdvFrame& frame : frames) {
        if (!frame.status.has(EAdvStatus::VideoCameraFrameId))
            return false;
        isMoving = isMoving || frame.status.cameraFrameId != frames[0].status.cameraFrameId;
    }
    return isMoving;
}

SVerifyReport verifyRecording(AdvFile& file, const std::string& name)
{
    SVerifyReport report;
    report.isReadable = true;
    for (const SAdvFinding& damage : file.damage())
        report.findings.push_back("at byte " + std::to_string(damage.offset) + ": " + damage.text);
    checkCounts(file, report);
    checkIndex(file, report);
    checkFrames(file, report);
    checkCompressedBlocks(file, report);
    checkTimes(file, report);
    report.notes.push_back(accountOfBytes(file));
    report.verdict = verdictOf(file, name, report);
    return report;
}

SVerifyReport verifyRecording(const std::string& path)
{
    AdvFile file;
    const std::string error = file.open(path);
    if (error.empty())
        return verifyRecording(file, printable(path));
    SVerifyReport report;
    report.verdict = printable(path) + ": " + error;
    return report;
}

} // namespace obriadv
