#pragma once
#include <cstdint>

namespace obrisim {

/// One row to render. Levels in quarters of a converter step.
struct SRowJob {
    int width = 0;
    const int16_t* mean = nullptr;
    const int16_t* sigma = nullptr; ///< 64ths of a converter step
    const int16_t* noise = nullptr; ///< normal deviates in 4096ths
    int16_t offset = 0;             ///< added to the whole row
    uint16_t invert = 0;            ///< 4095 turns the row's samples upside down
};

/// samples = mean + noise * sigma, clamped to 0..4095. The sum must stay within 16 bits.
void renderLight(const SRowJob& job, uint16_t* samples);

/// The same for a row without light: every pixel at one level with one step of noise.
void renderDark(const SRowJob& job, int16_t level, uint16_t* samples);

} // namespace obrisim
