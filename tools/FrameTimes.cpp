#include "FrameTimes.h"

#include "AdvTime.h"

#include "TextFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace obriadv {

namespace {

// Steps that far before and behind tell what a step should be: enough to average the grain, few enough to follow
// a camera whose exposure is changed while it records.
constexpr size_t sReach = 15;
constexpr size_t sFewestSteps = 3;

int64_t distance(int64_t a, int64_t b)
{
    // Times of hostile files may lie anywhere; a distance is only ever compared with milliseconds.
    const auto difference = static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
    return difference == INT64_MIN ? INT64_MAX : difference < 0 ? -difference : difference;
}

int64_t difference(int64_t later, int64_t earlier)
{
    return static_cast<int64_t>(static_cast<uint64_t>(later) - static_cast<uint64_t>(earlier));
}

class StepJudge {
public:
    StepJudge(const std::vector<SFrameTime>& frames, bool hasCounter) : m_frames(frames), m_hasCounter(hasCounter) {}

    /// Counts from frame i to frame i + 1, 1 when none is lost, modulo 2^32.
    uint32_t counts(size_t i) const { return m_hasCounter ? m_frames[i + 1].counter - m_frames[i].counter : 1; }

    int64_t step(size_t i) const { return difference(m_frames[i + 1].startNs, m_frames[i].startNs); }

    bool isEquallyLong(size_t a, size_t b) const { return distance(exposure(a), exposure(b)) <= sGrainNs; }

    /// Nanoseconds from a frame to the next around frame i, 0 when the neighbours do not tell.
    double period(size_t i) const
    {
        std::vector<double> steps;
        const size_t last = std::min(i + sReach, m_frames.size() - 2);
        for (size_t j = i < sReach ? 0 : i - sReach; j <= last; ++j)
            if (counts(j) > 0 && counts(j) < 1000 && step(j) > 0 && isEquallyLong(i, j))
                steps.push_back(static_cast<double>(step(j)) / counts(j));
        if (steps.size() < sFewestSteps)
            return 0;
        const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
        std::nth_element(steps.begin(), middle, steps.end());
        return meanNear(steps, *middle);
    }

private:
    int64_t exposure(size_t i) const { return difference(m_frames[i].endNs, m_frames[i].startNs); }

    // The mean averages the grain away, which the median cannot.
    static double meanNear(const std::vector<double>& steps, double median)
    {
        double sum = 0;
        int count = 0;
        for (double step : steps) {
            if (std::abs(step - median) > 1.5 * sGrainNs)
                continue;
            sum += step;
            ++count;
        }
        return sum / count; // the median itself is always among them
    }

    const std::vector<SFrameTime>& m_frames;
    bool m_hasCounter;
};

/// What stands between frame i and the next by the counter alone.
/// @param repeats  frames up to i that repeat the count before them. The camera counted on all the same: their data
///                 blocks could not be read, and what they took of the next step is not lost.
bool judgeCounter(const StepJudge& judge, size_t i, uint32_t repeats, SGap& gap)
{
    const uint32_t counts = judge.counts(i);
    if (counts == 0 || counts > 0x80000000u) {
        gap.kind = counts == 0 ? EGap::Repeated : EGap::CounterBack;
        return true;
    }
    gap.kind = EGap::FramesLost;
    gap.missing = counts - 1 - std::min(repeats, counts - 1);
    return gap.missing > 0;
}

/// @param period  from frame i to the next, by the frames around and the counts between the two
bool judgeTime(const StepJudge& judge, size_t i, bool hasCounter, double period, SGap& gap)
{
    if (gap.stepNs < 0) {
        gap.kind = EGap::TimeBackward;
        return true;
    }
    // Without equally exposed neighbours there is nothing to compare with.
    if (period <= 0 || !judge.isEquallyLong(i, i + 1))
        return false;
    // Both ends are cut to the grain; the mean itself is good to a tenth of it, and crystals drift a little.
    const double tolerance = 1.5 * sGrainNs + 0.001 * period;
    if (std::abs(static_cast<double>(gap.stepNs) - period) <= tolerance)
        return false;
    const double lost = std::round(static_cast<double>(gap.stepNs) / period) - 1;
    const bool isLoss = !hasCounter && lost >= 1;
    gap.kind = isLoss ? EGap::FramesLost : EGap::TimeStep;
    gap.missing = isLoss ? static_cast<uint32_t>(std::min(lost, 4e9)) : 0;
    return true;
}

std::string milliseconds(int64_t ns)
{
    return libobribase::formatFixed(static_cast<double>(ns) / sNsPerMs, 1);
}

} // namespace

const char* gapName(EGap kind)
{
    switch (kind) {
    case EGap::FramesLost:
        return "frames lost";
    case EGap::Repeated:
        return "counter stands";
    case EGap::CounterBack:
        return "counter back";
    case EGap::TimeStep:
        return "time step";
    case EGap::TimeBackward:
        return "time backward";
    }
    return "";
}

std::vector<SGap> findGaps(const std::vector<SFrameTime>& frames, bool hasCounter)
{
    std::vector<SGap> gaps;
    const StepJudge judge(frames, hasCounter);
    uint32_t repeats = 0;
    for (size_t i = 0; i + 1 < frames.size(); ++i) {
        SGap gap;
        gap.before = i;
        gap.stepNs = judge.step(i);
        const double period = judge.period(i);
        const double expected = period * std::max(judge.counts(i), 1u);
        gap.expectedNs = expected < 1e18 ? static_cast<int64_t>(expected) : 0;
        if ((hasCounter && judgeCounter(judge, i, repeats, gap)) || judgeTime(judge, i, hasCounter, expected, gap))
            gaps.push_back(gap);
        repeats = judge.counts(i) == 0 ? repeats + 1 : 0;
    }
    return gaps;
}

uint64_t framesLost(const std::vector<SGap>& gaps)
{
    uint64_t lost = 0;
    for (const SGap& gap : gaps)
        lost += gap.missing;
    return lost;
}

std::string gapTable(const std::vector<SGap>& gaps, const std::vector<SFrameTime>& frames, bool hasCounter,
                     const std::vector<std::string>& labels)
{
    if (gaps.empty())
        return {};
    std::string table = "    after  what             missing     step ms  expected ms  camera counter           "
                        "start of the frame before  and behind\n";
    for (const SGap& gap : gaps) {
        const SFrameTime& before = frames[gap.before];
        const SFrameTime& behind = frames[gap.before + 1];
        const std::string counters =
            hasCounter ? std::to_string(before.counter) + " > " + std::to_string(behind.counter) : "-";
        const std::string label = labels.empty() ? std::to_string(gap.before) : labels[gap.before];
        char line[256];
        snprintf(line, sizeof line, "%9s  %-15s %8u  %10s  %11s  %-23s  %s    %s\n", label.c_str(), gapName(gap.kind),
                 gap.missing, milliseconds(gap.stepNs).c_str(),
                 gap.expectedNs > 0 ? milliseconds(gap.expectedNs).c_str() : "-", counters.c_str(),
                 isoTime(before.startNs).c_str(), isoTime(behind.startNs).c_str());
        table += line;
    }
    return table;
}

} // namespace obriadv
