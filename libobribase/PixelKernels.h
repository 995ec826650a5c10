#pragma once

#include <cstddef>
#include <cstdint>

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

/// Which pixels are coloured as overflowing, and how.
struct SOverflowMarks {
    int inverted; ///< dark pixels overflow instead of bright ones
};

/// Counts of 64 pixel values each, in tables that take turns: an increment would otherwise wait for the store of the
/// one before whenever neighbours are alike. The tables do not lie a multiple of 4096 bytes apart, because then the
/// processor takes the bins of one for those of another.
struct SHistogramTables {
    static constexpr int sTables = 4;
    static constexpr int sBins = 1024;
    uint32_t counts[sTables][sBins + 16] = {};
};

/// The loops over pixels, at one instruction level of the processor.
///
/// All levels give the same bits. Pointers need no alignment; a run holds at most sMaxRun pixels, and may be empty.
/// Nothing outside the runs is read or written. Cannot fail, allocate nothing. Any thread.
struct SPixelKernels {
    static constexpr int sMaxRun = 1 << 22;

    const char* name;
    /// Decodes count words of two bytes; returns the sum of the pixels.
    uint64_t (*decodeUnpacked)(const uint8_t* raw, uint16_t* pixels, int count);
    /// Decodes groups of 12 bytes to 8 pixels each, the last group maybe to fewer; returns the sum of the pixels.
    uint64_t (*decodePacked)(const uint8_t* raw, uint16_t* pixels, int count);
    /// Sums up the pixels in low..high, both inclusive.
    SPixelSum (*sumWithin)(const uint16_t* pixels, int count, uint16_t low, uint16_t high);
    /// Whether all pixels are 0; returns early when the first ones are not.
    bool (*isZero)(const uint16_t* pixels, int count);
    /// Corrects pixels in place. flat is read only when there is a flat scale.
    void (*correct)(uint16_t* pixels, const uint16_t* dark, const uint16_t* flat, int count,
                    const SPixelCorrection& correction);
    /// Shows the pixels' high bytes as greys 0x00RRGGBB.
    void (*grey)(const uint16_t* pixels, uint32_t* rgb, int count);
    /// Looks the pixels' colours up in a table of 65536.
    void (*colour)(const uint16_t* pixels, uint32_t* rgb, int count, const uint32_t* colours);
    /// The same, and counts the pixels.
    void (*colourAndCount)(const uint16_t* pixels, uint32_t* rgb, int count, const uint32_t* colours,
                           SHistogramTables& tables);
    /// Marks the overflowing pixels among the colours found for them.
    void (*markOverflow)(const uint16_t* pixels, uint32_t* rgb, int count, const SOverflowMarks& marks);
};

/// The best level that this processor has; chosen once.
const SPixelKernels& pixelKernels();

} // namespace libobribase
