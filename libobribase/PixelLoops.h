#pragma once

#include "PixelPlain.h"

// The loops over pixels for a vector unit. V is the unit: its register type Word holds V::sPixels pixels, and its
// operations are named after what they do to 16-bit lanes unless the name says 32.
//
// The end of a run that does not fill a register is done by a register that ends there and overlaps the one before;
// runs shorter than a register are left to the portable loops. Without a name, the namespace keeps the copies for
// different units apart.
namespace libobribase {
namespace {

/// Ones in the last count lanes of a register.
template <class V>
typename V::Word lastLanes(int count)
{
    alignas(64) static constexpr uint16_t sMask[64] = {
        0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,
        0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,     0,
        65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535,
        65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535};
    return V::load(sMask + 32 - V::sPixels + count);
}

/// Adds pixels up, whose low four bits are zero: without them a pixel fits into a signed lane.
template <class V>
class DecodedSum {
public:
    DecodedSum() : m_sums(V::zero()) {}
    void add(typename V::Word pixels)
    {
        m_sums = V::add32(m_sums, V::addedPairs(V::template shiftRight<4>(pixels), V::all(1)));
    }
    uint64_t value() const { return V::sum32(m_sums) << 4; }

private:
    typename V::Word m_sums;
};

template <class V>
typename V::Word unpackedPixels(const uint8_t* raw)
{
    const auto words = V::load(raw);
    return V::either(V::template shiftLeft<8>(words), V::both(V::template shiftRight<4>(words), V::all(0x00F0)));
}

template <class V>
uint64_t decodeUnpacked(const uint8_t* raw, uint16_t* pixels, int count)
{
    if (count < V::sPixels)
        return plainDecodeUnpacked(raw, pixels, count);
    DecodedSum<V> sum;
    const int last = count - V::sPixels;
    int i = 0;
    for (; i <= last; i += V::sPixels) {
        const auto decoded = unpackedPixels<V>(raw + i * 2);
        sum.add(decoded);
        V::store(pixels + i, decoded);
    }
    const auto decoded = unpackedPixels<V>(raw + last * 2);
    sum.add(V::both(decoded, lastLanes<V>(count - i)));
    V::store(pixels + last, decoded);
    return sum.value();
}

/// In eight lanes: what a group's words hold in place, and what they hold two lanes to the right and four bits to
/// the left.
template <class V>
typename V::Word packedPixels(const uint8_t* raw)
{
    const auto words = V::loadGroups(raw);
    const auto inPlace = V::both(words, V::eight(0xFFF0, 0xFFF0, 0xFF00, 0xFF00, 0xF000, 0xF000, 0, 0));
    const auto moved = V::both(V::template shiftLeft<4>(V::twoLanesRight(words)),
                               V::eight(0, 0, 0x00F0, 0x00F0, 0x0FF0, 0x0FF0, 0xFFF0, 0xFFF0));
    return V::either(inPlace, moved);
}

template <class V>
uint64_t decodePacked(const uint8_t* raw, uint16_t* pixels, int count)
{
    if (count < V::sPixels)
        return plainDecodePacked(raw, pixels, count);
    DecodedSum<V> sum;
    const int whole = count / 8 * 8; // pixels in whole groups
    const int last = whole - V::sPixels;
    int i = 0;
    for (; i <= last; i += V::sPixels) {
        const auto decoded = packedPixels<V>(raw + i / 8 * 12);
        sum.add(decoded);
        V::store(pixels + i, decoded);
    }
    if (i < whole) {
        const auto decoded = packedPixels<V>(raw + last / 8 * 12);
        sum.add(V::both(decoded, lastLanes<V>(whole - i)));
        V::store(pixels + last, decoded);
    }
    return sum.value() + plainDecodePacked(raw + whole / 8 * 12, pixels + whole, count - whole);
}

/// Sums and counts pixels in low..low + range, as distances from low.
template <class V>
class SumWithin {
public:
    SumWithin(uint16_t low, uint16_t range)
        : m_low(V::all(low)), m_range(V::all(range)), m_sums(V::zero()), m_counts(V::zero())
    {
    }

    void add(typename V::Word pixels, typename V::Word lanes)
    {
        const auto distance = V::subtract(pixels, m_low); // pixels below low wrap to far beyond the range
        const auto within = V::both(V::equal(V::subtractClamped(distance, m_range), V::zero()), lanes);
        m_sums = V::add32(m_sums, V::addedPairs(V::both(distance, within), V::all(1)));
        m_counts = V::subtract(m_counts, within); // a lane counts to 65535, so runs may not be much longer
    }

    SPixelSum value(uint16_t low) const
    {
        const uint32_t count = V::sum16(m_counts);
        return {V::sum32(m_sums) + uint64_t{count} * low, count};
    }

private:
    typename V::Word m_low, m_range, m_sums, m_counts;
};

template <class V>
SPixelSum sumWithin(const uint16_t* pixels, int count, uint16_t low, uint16_t high)
{
    // A wider range would overflow the lanes' sums; the bounds around a mean are closer.
    constexpr int sWidestRange = 4095;
    if (count < V::sPixels || high < low || high - low > sWidestRange)
        return plainSumWithin(pixels, count, low, high);
    SumWithin<V> sum(low, static_cast<uint16_t>(high - low));
    const int last = count - V::sPixels;
    int i = 0;
    for (; i <= last; i += V::sPixels)
        sum.add(V::load(pixels + i), V::all(65535));
    sum.add(V::load(pixels + last), lastLanes<V>(count - i));
    return sum.value(low);
}

template <class V>
bool isZero(const uint16_t* pixels, int count)
{
    constexpr int sStep = V::sPixels * 4; // between two looks at what was found
    int i = 0;
    for (; i + sStep <= count; i += sStep) {
        const auto first = V::either(V::load(pixels + i), V::load(pixels + i + V::sPixels));
        const auto second = V::either(V::load(pixels + i + V::sPixels * 2), V::load(pixels + i + V::sPixels * 3));
        if (!V::isZero(V::either(first, second)))
            return false;
    }
    return plainIsZero(pixels + i, count - i);
}

template <class V, bool HasPedestal, bool HasFlat>
typename V::Word correctedPixels(const uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int i,
                                 const SPixelCorrection& correction)
{
    auto v = V::load(pixels + i);
    v = V::subtractClamped(V::addClamped(v, V::all(correction.lineAdd)), V::all(correction.lineSubtract));
    if constexpr (HasPedestal) {
        const auto pedestal = V::all(correction.pedestal);
        const auto sum = V::addClamped(v, pedestal);
        // A pixel that saturates with the pedestal stays saturated: the dark is not subtracted from it, on purpose.
        const auto fits = V::equal(sum, V::add(v, pedestal));
        v = V::either(V::subtractClamped(sum, V::load(dark + i)), V::inverse(fits));
    } else {
        v = V::subtractClamped(v, V::load(dark + i));
    }
    if constexpr (HasFlat)
        v = V::scaledBy(v, correction.flatScale, V::load(flat + i));
    return v;
}

template <class V, bool HasPedestal, bool HasFlat>
void correctRun(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
                const SPixelCorrection& correction)
{
    const auto corrected = correctedPixels<V, HasPedestal, HasFlat>;
    const int last = count - V::sPixels;
    const auto end = corrected(pixels, dark, flat, last, correction); // while these pixels are untouched
    for (int i = 0; i < last; i += V::sPixels)
        V::store(pixels + i, corrected(pixels, dark, flat, i, correction));
    V::store(pixels + last, end);
}

template <class V>
void correct(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
             const SPixelCorrection& correction)
{
    if (count < V::sPixels)
        plainCorrect(pixels, dark, flat, count, correction);
    else if (correction.flatScale != 0)
        correctRun<V, true, true>(pixels, dark, flat, count, correction);
    else if (correction.pedestal != 0)
        correctRun<V, true, false>(pixels, dark, flat, count, correction);
    else
        correctRun<V, false, false>(pixels, dark, flat, count, correction);
}

/// Calls step(i) so that steps of V::sPixels cover 0..count - 1; the last one may overlap the one before.
template <class V, class Step>
void forEachRegister(int count, Step step)
{
    const int last = count - V::sPixels;
    for (int i = 0; i < last; i += V::sPixels)
        step(i);
    step(last);
}

template <class V>
void grey(const uint16_t* pixels, uint32_t* rgb, int count)
{
    if (count < V::sPixels)
        return plainGrey(pixels, rgb, count);
    forEachRegister<V>(count, [&](int i) {
        const auto p = V::load(pixels + i);
        const auto level = V::template shiftRight<8>(p);
        const auto greenAndBlue = V::either(level, V::both(p, V::all(0xFF00)));
        const auto words = V::interleaved(greenAndBlue, level);
        V::store(rgb + i, words.first);
        V::store(rgb + i + V::sPixels / 2, words.second);
    });
}

template <class V>
bool toSamples(const uint16_t* pixels, uint16_t* samples, int count)
{
    if (count < V::sPixels)
        return plainToSamples(pixels, samples, count);
    auto found = V::zero();
    forEachRegister<V>(count, [&](int i) {
        const auto p = V::load(pixels + i);
        found = V::either(found, p);
        V::store(samples + i, V::template shiftRight<4>(p));
    });
    return V::isZero(V::both(found, V::all(0x000F)));
}

template <class V>
void shadeAndCount(const uint16_t* samples, const uint8_t* greys, uint32_t* rgb, int count,
                   PixelHistogram::Tables& tables)
{
    auto& [t0, t1, t2, t3] = tables;
    const auto bin = [](size_t sample) { return sample >> sSampleBinShift; };
    int i = 0;
    // Eight a round: the loads of one need not wait for the stores of another, and greys leave in whole registers.
    for (; i + 8 <= count; i += 8) {
        const uint16_t* s = samples + i;
        const size_t a = s[0], b = s[1], c = s[2], d = s[3], e = s[4], f = s[5], g = s[6], h = s[7];
        const auto first = V::greys(greys[a], greys[b], greys[c], greys[d]);
        const auto second = V::greys(greys[e], greys[f], greys[g], greys[h]);
        ++t0[bin(a)], ++t1[bin(b)], ++t2[bin(c)], ++t3[bin(d)];
        ++t0[bin(e)], ++t1[bin(f)], ++t2[bin(g)], ++t3[bin(h)];
        V::storeFour(rgb + i, first);
        V::storeFour(rgb + i + 4, second);
    }
    plainShadeAndCount(samples + i, greys, rgb + i, count - i, tables);
}

/// Bright pixels lose blue, the brightest green too.
template <class V>
void markBright(const uint16_t* pixels, uint32_t* rgb)
{
    const auto p = V::load(pixels);
    const auto within = V::equal(V::subtractClamped(p, V::all(sYellowAbove)), V::zero());
    if (V::isZero(V::inverse(within)))
        return;
    const auto notRed = V::equal(V::subtractClamped(p, V::all(sRedAbove)), V::zero());
    // The bits to keep, of green and blue and of red.
    const auto low = V::either(V::both(within, V::all(0x00FF)), V::both(notRed, V::all(0xFF00)));
    const auto high = V::either(within, V::all(0x00FF));
    const auto keep = V::interleaved(low, high);
    V::store(rgb, V::both(V::load(rgb), keep.first));
    V::store(rgb + V::sPixels / 2, V::both(V::load(rgb + V::sPixels / 2), keep.second));
}

/// Dark pixels gain red and green, the darkest only red.
template <class V>
void markDark(const uint16_t* pixels, uint32_t* rgb)
{
    const auto p = V::load(pixels);
    const auto yellow = V::equal(V::subtractClamped(p, V::all(sYellowBelow - 1)), V::zero());
    if (V::isZero(yellow))
        return;
    const auto red = V::equal(V::subtractClamped(p, V::all(sRedBelow - 1)), V::zero());
    const auto low = V::both(V::both(yellow, V::inverse(red)), V::all(0xFF00));
    const auto high = V::both(yellow, V::all(0x00FF));
    const auto gain = V::interleaved(low, high);
    V::store(rgb, V::either(V::load(rgb), gain.first));
    V::store(rgb + V::sPixels / 2, V::either(V::load(rgb + V::sPixels / 2), gain.second));
}

template <class V>
void markOverflow(const uint16_t* pixels, uint32_t* rgb, int count, bool inverted)
{
    if (count < V::sPixels)
        return plainMarkOverflow(pixels, rgb, count, inverted);
    const auto mark = inverted ? markDark<V> : markBright<V>;
    forEachRegister<V>(count, [&](int i) { mark(pixels + i, rgb + i); });
}

/// The loops for unit V.
template <class V>
constexpr SPixelKernels vectorKernels(const char* name)
{
    return {name,       decodeUnpacked<V>, decodePacked<V>, sumWithin<V>,     isZero<V>,
            correct<V>, grey<V>,           toSamples<V>,    shadeAndCount<V>, markOverflow<V>};
}

} // namespace
} // namespace libobribase
