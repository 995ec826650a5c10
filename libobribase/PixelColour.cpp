#include "PixelColour.h"

#include "PixelKernels.h"

#include <algorithm>
#include <cstddef>

namespace libobribase {

namespace {

// Both loops take four values a round: the loads of one need not wait for the stores of another.

void colourRun(const uint16_t* values, uint32_t* rgb, int count, const uint32_t* colours)
{
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const size_t a = values[i], b = values[i + 1], c = values[i + 2], d = values[i + 3];
        const uint32_t ca = colours[a], cb = colours[b], cc = colours[c], cd = colours[d];
        rgb[i] = ca, rgb[i + 1] = cb, rgb[i + 2] = cc, rgb[i + 3] = cd;
    }
    for (; i < count; ++i)
        rgb[i] = colours[values[i]];
}

/// BinShift takes a value to its bin.
template <int BinShift>
void colourAndCountRun(const uint16_t* values, uint32_t* rgb, int count, const uint32_t* colours,
                       PixelHistogram::Tables& tables)
{
    auto& [t0, t1, t2, t3] = tables;
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const size_t a = values[i], b = values[i + 1], c = values[i + 2], d = values[i + 3];
        const uint32_t ca = colours[a], cb = colours[b], cc = colours[c], cd = colours[d];
        ++t0[a >> BinShift], ++t1[b >> BinShift], ++t2[c >> BinShift], ++t3[d >> BinShift];
        rgb[i] = ca, rgb[i + 1] = cb, rgb[i + 2] = cc, rgb[i + 3] = cd;
    }
    for (; i < count; ++i) {
        rgb[i] = colours[values[i]];
        ++t0[values[i] >> BinShift];
    }
}

} // namespace

void colourPixels(const uint16_t* pixels, uint32_t* rgb, int count, const uint32_t* colours, PixelHistogram* histogram)
{
    if (!histogram)
        return colourRun(pixels, rgb, count, colours);
    for (int i = 0; i < count; i += PixelHistogram::sLongestRun) {
        const int run = std::min(count - i, PixelHistogram::sLongestRun);
        colourAndCountRun<PixelHistogram::sBinShift>(pixels + i, rgb + i, run, colours, histogram->tablesFor(run));
    }
}

SampleColours::SampleColours(const uint32_t* colours, bool showOverflow, bool inverted)
{
    for (int sample = 0; sample < sSamples; ++sample) {
        const int pixel = sample << 4;
        m_colours[sample] = showOverflow ? markedColour(colours[pixel], pixel, inverted) : colours[pixel];
        m_greys[sample] = static_cast<uint8_t>(m_colours[sample]);
        m_areGreys &= m_colours[sample] == m_greys[sample] * sGreyStep;
    }
}

bool SampleColours::colourPixels(const uint16_t* pixels, uint32_t* rgb, int count, PixelHistogram* histogram) const
{
    uint16_t samples[sLongestRun];
    if (!pixelKernels().toSamples(pixels, samples, count))
        return false;
    if (!histogram)
        colourRun(samples, rgb, count, m_colours);
    else if (m_areGreys)
        pixelKernels().shadeAndCount(samples, m_greys, rgb, count, histogram->tablesFor(count));
    else
        colourAndCountRun<sSampleBinShift>(samples, rgb, count, m_colours, histogram->tablesFor(count));
    return true;
}

} // namespace libobribase
