#include "PixelKernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

// From here on to the end of the file, so that what the headers above define stays fit for every processor.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC target("avx2")
#endif

#include "PixelLoops.h"

namespace libobribase {

namespace {

/// Registers of 32 bytes; many operations work on their two halves apart.
struct SAvx2 {
    using Word = __m256i;
    static constexpr int sPixels = 16;

    static Word load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
    static void store(void* to, Word w) { _mm256_storeu_si256(static_cast<__m256i*>(to), w); }
    static Word zero() { return _mm256_setzero_si256(); }
    static Word all(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
    static Word eight(int a, int b, int c, int d, int e, int f, int g, int h)
    {
        const auto s = [](int value) { return static_cast<short>(value); };
        return _mm256_setr_epi16(s(a), s(b), s(c), s(d), s(e), s(f), s(g), s(h), s(a), s(b), s(c), s(d), s(e), s(f),
                                 s(g), s(h));
    }
    static Word both(Word a, Word b) { return _mm256_and_si256(a, b); }
    static Word either(Word a, Word b) { return _mm256_or_si256(a, b); }
    static Word inverse(Word a) { return _mm256_xor_si256(a, all(65535)); }
    static Word add(Word a, Word b) { return _mm256_add_epi16(a, b); }
    static Word subtract(Word a, Word b) { return _mm256_sub_epi16(a, b); }
    static Word addClamped(Word a, Word b) { return _mm256_adds_epu16(a, b); }
    static Word subtractClamped(Word a, Word b) { return _mm256_subs_epu16(a, b); }
    static Word equal(Word a, Word b) { return _mm256_cmpeq_epi16(a, b); }
    template <int Bits>
    static Word shiftLeft(Word a)
    {
        return _mm256_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Word shiftRight(Word a)
    {
        return _mm256_srli_epi16(a, Bits);
    }
    static Word twoLanesRight(Word a) { return _mm256_slli_si256(a, 4); }
    static Word add32(Word a, Word b) { return _mm256_add_epi32(a, b); }
    /// a0 * b0 + a1 * b1 and so on, signed, to 32 bits.
    static Word addedPairs(Word a, Word b) { return _mm256_madd_epi16(a, b); }
    static bool isZero(Word a) { return _mm256_testz_si256(a, a); }

    /// Twenty-four bytes, twelve into the first six lanes of each half; the other lanes hold anything.
    static Word loadGroups(const uint8_t* raw)
    {
        // Sixteen bytes that end where the second group ends, lest they end outside the buffer.
        const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(raw));
        const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(raw + 8));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(first), _mm_srli_si128(second, 4), 1);
    }

    static void storeFour(uint32_t* rgb, __m128i greys) { _mm_storeu_si128(reinterpret_cast<__m128i*>(rgb), greys); }
    /// Four greys from their levels.
    static __m128i greys(int a, int b, int c, int d)
    {
        __m128i levels = _mm_cvtsi32_si128(a);
        levels = _mm_insert_epi8(levels, b, 1);
        levels = _mm_insert_epi8(levels, c, 2);
        levels = _mm_insert_epi8(levels, d, 3);
        const __m128i spread = _mm_setr_epi8(0, 0, 0, -1, 1, 1, 1, -1, 2, 2, 2, -1, 3, 3, 3, -1);
        return _mm_shuffle_epi8(levels, spread);
    }

    /// The lanes' sum, of 32-bit numbers without sign.
    static uint64_t sum32(Word a)
    {
        const Word fours = _mm256_add_epi64(_mm256_unpacklo_epi32(a, zero()), _mm256_unpackhi_epi32(a, zero()));
        const __m128i pairs = _mm_add_epi64(_mm256_castsi256_si128(fours), _mm256_extracti128_si256(fours, 1));
        return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_add_epi64(pairs, _mm_unpackhi_epi64(pairs, pairs))));
    }
    static uint32_t sum16(Word a)
    {
        const Word even = _mm256_and_si256(a, _mm256_set1_epi32(0xFFFF));
        return static_cast<uint32_t>(sum32(add32(even, _mm256_srli_epi32(a, 16))));
    }

    struct SWords {
        Word first, second;
    };
    /// Words of 32 bits from their halves.
    static SWords interleaved(Word low, Word high)
    {
        const Word first = _mm256_unpacklo_epi16(low, high), second = _mm256_unpackhi_epi16(low, high);
        return {_mm256_permute2x128_si256(first, second, 0x20), _mm256_permute2x128_si256(first, second, 0x31)};
    }

    /// a * scale / flat; doubles hold product and quotient exactly enough to truncate rightly.
    static Word scaledBy(Word a, int scale, Word flat)
    {
        const Word low = _mm256_mullo_epi16(a, all(scale)), high = _mm256_mulhi_epu16(a, all(scale));
        const Word first = divided(_mm256_unpacklo_epi16(low, high), _mm256_unpacklo_epi16(flat, zero()));
        const Word second = divided(_mm256_unpackhi_epi16(low, high), _mm256_unpackhi_epi16(flat, zero()));
        return either(lowHalves(first, second), equal(flat, zero()));
    }

private:
    static __m128i quotient(__m128i a, __m128i b)
    {
        return _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(a), _mm256_cvtepi32_pd(b)));
    }
    static Word divided(Word a, Word b)
    {
        const __m128i low = quotient(_mm256_castsi256_si128(a), _mm256_castsi256_si128(b));
        const __m128i high = quotient(_mm256_extracti128_si256(a, 1), _mm256_extracti128_si256(b, 1));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    }
    static Word lowHalves(Word a, Word b) { return _mm256_packs_epi32(signExtended(a), signExtended(b)); }
    /// The low half of each 32-bit lane as a signed number, which packing leaves as it is.
    static Word signExtended(Word w) { return _mm256_srai_epi32(_mm256_slli_epi32(w, 16), 16); }
};

} // namespace

const SPixelKernels& avx2PixelKernels()
{
    static constexpr SPixelKernels sKernels = vectorKernels<SAvx2>("AVX2");
    return sKernels;
}

} // namespace libobribase

#if defined(__clang__)
#pragma clang attribute pop
#endif

#endif
