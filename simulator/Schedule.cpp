#include "Schedule.h"

#include <algorithm>

namespace obrisim {

// Time from the first disappearance up to t during which the star was hidden.
static int64_t hiddenUntil(const SOccultation& occultation, int64_t t)
{
    t -= occultation.startNs;
    if (t <= 0)
        return 0;
    if (occultation.periodNs <= 0)
        return std::min(t, occultation.durationNs);
    const int64_t inEach = std::min(occultation.durationNs, occultation.periodNs);
    return t / occultation.periodNs * inEach + std::min(t % occultation.periodNs, inEach);
}

double visiblePart(const SOccultation& occultation, int64_t startNs, int64_t endNs)
{
    if (endNs <= startNs)
        return 1.0;
    const auto hidden = hiddenUntil(occultation, endNs) - hiddenUntil(occultation, startNs);
    return 1.0 - occultation.depth * static_cast<double>(hidden) / static_cast<double>(endNs - startNs);
}

} // namespace obrisim
