#pragma once

#include "PixelHistogram.h"

#include <cstdint>
#include <vector>

namespace libobribase {

/// Pixels found within bounds.
struct SPixelSum {
    uint64_t sum;
    uint32_t count;
};

/// What is done to a run of pixels, in this order: line noise, dark, flat.
struct SPixelCorrection {
    uint16_t lineAdd;      ///< added first; 0 when lineSubtract is not
    uint16_t lineSubtract; ///< subtracted first; both stop at 0 and 65535
    uint16_t pedestal;     ///< added before the dark is subtracted
    uint16_t flatScale;    ///< 0: no flat
};

/// The loops over pixels, at one instruction level of the processor.
///
/// All levels give the same bits. Pointers need no alignment; a run holds at most sMaxRun pixels, and may be empty.
/// Nothing outside the runs is read or written. Cannot fail, allocate nothing. Any thread.
struct SPixelKernels {
    static constexpr int sMaxRun = 1 << 18;

    const char* name;
    /// Decodes count words of two bytes; returns the sum of the pixels.
    uint64_t (*decodeUnpacked)(const uint8_t* raw, uint16_t* pixels, int count);
    /// Decodes groups of 12 bytes to 8 pixels each, the last group maybe to fewer; returns the sum of the pixels.
    uint64_t (*decodePacked)(const uint8_t* raw, uint16_t* pixels, int count);
    /// Sums up the pixels in low..high, both inclusive.
    SPixelSum (*sumWithin)(const uint16_t* pixels, int count, uint16_t low, uint16_t high);
    /// Whether all pixels are 0; returns early when one of the first is not.
    bool (*isZero)(const uint16_t* pixels, int count);
    /// Corrects pixels in place. flat is read only when there is a flat scale.
    void (*correct)(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
                    const SPixelCorrection& correction);
    /// Shows the pixels' high bytes as greys 0x00RRGGBB.
    void (*grey)(const uint16_t* pixels, uint32_t* rgb, int count);
    /// Takes pixels to the camera's 12-bit samples, and says whether none had any of the four bits that get lost.
    bool (*toSamples)(const uint16_t* pixels, uint16_t* samples, int count);
    /// Looks the greys of 12-bit samples up in a table of 4096, and counts the pixels that they come from.
    void (*shadeAndCount)(const uint16_t* samples, const uint8_t* greys, uint32_t* rgb, int count,
                          PixelHistogram::Tables& tables);
    /// Gives the colours of count pixels the marks of markedColour.
    void (*markOverflow)(const uint16_t* pixels, uint32_t* rgb, int count, bool inverted);
};

#if defined(__x86_64__)
const SPixelKernels& sse2PixelKernels();
/// Only on processors that have AVX2.
const SPixelKernels& avx2PixelKernels();
#endif

/// The levels that this processor has, the plainest first.
const std::vector<const SPixelKernels*>& pixelLevels();

/// The level in use: the last of pixelLevels().
const SPixelKernels& pixelKernels();

/// Puts another level in use, to test or to time it.
void choosePixelKernels(const SPixelKernels& level);

} // namespace libobribase
