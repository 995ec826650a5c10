#include "PixelKernels.h"

#if defined(__x86_64__)

#include "PixelLoops.h"

#include <emmintrin.h>

#include <cstring>

namespace libobribase {

namespace {

/// The vector unit that every x86-64 processor has.
struct SSse2 {
    using Word = __m128i;
    static constexpr int sPixels = 8;

    static Word load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
    static void store(void* to, Word w) { _mm_storeu_si128(static_cast<__m128i*>(to), w); }
    static Word zero() { return _mm_setzero_si128(); }
    static Word all(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
    static Word eight(int a, int b, int c, int d, int e, int f, int g, int h)
    {
        const auto s = [](int value) { return static_cast<short>(value); };
        return _mm_setr_epi16(s(a), s(b), s(c), s(d), s(e), s(f), s(g), s(h));
    }
    static Word both(Word a, Word b) { return _mm_and_si128(a, b); }
    static Word either(Word a, Word b) { return _mm_or_si128(a, b); }
    static Word inverse(Word a) { return _mm_xor_si128(a, all(65535)); }
    static Word add(Word a, Word b) { return _mm_add_epi16(a, b); }
    static Word subtract(Word a, Word b) { return _mm_sub_epi16(a, b); }
    static Word addClamped(Word a, Word b) { return _mm_adds_epu16(a, b); }
    static Word subtractClamped(Word a, Word b) { return _mm_subs_epu16(a, b); }
    static Word equal(Word a, Word b) { return _mm_cmpeq_epi16(a, b); }
    template <int Bits>
    static Word shiftLeft(Word a)
    {
        return _mm_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Word shiftRight(Word a)
    {
        return _mm_srli_epi16(a, Bits);
    }
    static Word twoLanesRight(Word a) { return _mm_slli_si128(a, 4); }
    static Word add32(Word a, Word b) { return _mm_add_epi32(a, b); }
    /// a0 * b0 + a1 * b1 and so on, signed, to 32 bits.
    static Word addedPairs(Word a, Word b) { return _mm_madd_epi16(a, b); }
    static bool isZero(Word a) { return _mm_movemask_epi8(_mm_cmpeq_epi16(a, zero())) == 0xFFFF; }

    /// Twelve bytes into the first six lanes.
    static Word loadGroups(const uint8_t* raw)
    {
        int last;
        memcpy(&last, raw + 8, sizeof last);
        return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(raw)), _mm_cvtsi32_si128(last));
    }

    static void storeFour(uint32_t* rgb, __m128i greys) { _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb), greys); }
    /// Four greys from their levels.
    static __m128i greys(int a, int b, int c, int d)
    {
        const __m128i levels = _mm_cvtsi32_si128(a | b << 8 | c << 16 | d << 24);
        const __m128i pairs = _mm_unpacklo_epi8(levels, levels);
        return _mm_and_si128(_mm_unpacklo_epi16(pairs, pairs), _mm_set1_epi32(0x00FFFFFF));
    }

    /// The lanes' sum, of 32-bit numbers without sign.
    static uint64_t sum32(Word a)
    {
        const Word pairs = _mm_add_epi64(_mm_unpacklo_epi32(a, zero()), _mm_unpackhi_epi32(a, zero()));
        return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(pairs, _mm_unpackhi_epi64(pairs, pairs))));
    }
    static uint32_t sum16(Word a)
    {
        const Word even = _mm_and_si128(a, _mm_set1_epi32(0xFFFF));
        return static_cast<uint32_t>(sum32(add32(even, _mm_srli_epi32(a, 16))));
    }

    struct SWords {
        Word first, second;
    };
    /// Words of 32 bits from their halves.
    static SWords interleaved(Word low, Word high)
    {
        return {_mm_unpacklo_epi16(low, high), _mm_unpackhi_epi16(low, high)};
    }

    /// a * scale / flat; doubles hold product and quotient exactly enough to truncate rightly.
    static Word scaledBy(Word a, int scale, Word flat)
    {
        const Word low = _mm_mullo_epi16(a, all(scale)), high = _mm_mulhi_epu16(a, all(scale));
        const auto [productsLow, productsHigh] = interleaved(low, high);
        const auto [flatsLow, flatsHigh] = interleaved(flat, zero());
        const Word quotient = lowHalves(divided(productsLow, flatsLow), divided(productsHigh, flatsHigh));
        return either(quotient, equal(flat, zero()));
    }

private:
    static Word twoLanesLeft(Word w) { return _mm_shuffle_epi32(w, _MM_SHUFFLE(3, 2, 3, 2)); }
    static Word quotient(Word a, Word b)
    {
        return _mm_cvttpd_epi32(_mm_div_pd(_mm_cvtepi32_pd(a), _mm_cvtepi32_pd(b)));
    }
    static Word divided(Word a, Word b)
    {
        return _mm_unpacklo_epi64(quotient(a, b), quotient(twoLanesLeft(a), twoLanesLeft(b)));
    }
    static Word lowHalves(Word a, Word b) { return _mm_packs_epi32(signExtended(a), signExtended(b)); }
    /// The low half of each 32-bit lane as a signed number, which packing leaves as it is.
    static Word signExtended(Word w) { return _mm_srai_epi32(_mm_slli_epi32(w, 16), 16); }
};

} // namespace

const SPixelKernels& sse2PixelKernels()
{
    static constexpr SPixelKernels sKernels = vectorKernels<SSse2>("SSE2");
    return sKernels;
}

} // namespace libobribase

#endif
