#include "PixelHistogram.h"

#include <algorithm>
#include <iterator>

namespace libobribase {

PixelHistogram::PixelHistogram(uint64_t* bins) : m_bins(bins)
{
    std::fill_n(bins, sBins, 0);
}

PixelHistogram::Tables& PixelHistogram::tablesFor(int pixels)
{
    if (pixels > sLongestRun - m_counted)
        addUp();
    m_counted += pixels;
    return m_tables;
}

void PixelHistogram::addUp()
{
    for (auto& table : m_tables) {
        for (int bin = 0; bin < sBins; ++bin)
            m_bins[bin] += table[bin];
        std::fill(std::begin(table), std::end(table), 0);
    }
    m_counted = 0;
}

} // namespace libobribase
