#include "RowKernel.h"

#include <algorithm>

namespace obrisim {

// 4096ths times 64ths, shifted right by 16, are quarters. The shift rounds down and the sum's rounding
// rounds halves up: on average the two cancel.
static uint16_t sample(int16_t mean, int16_t sigma, int16_t noise, int16_t offset)
{
    const auto deviation = static_cast<int16_t>((int32_t{noise} * sigma) >> 16);
    const auto level = static_cast<int16_t>(static_cast<int16_t>(mean + offset + deviation + 2) >> 2);
    return static_cast<uint16_t>(std::min<int16_t>(std::max<int16_t>(level, 0), 4095));
}

void renderLight(const SRowJob& job, uint16_t* __restrict samples)
{
    const int16_t offset = job.offset;
    const uint16_t invert = job.invert;
    const int16_t* __restrict mean = job.mean, * __restrict sigma = job.sigma, * __restrict noise = job.noise;
    for (int x = 0; x < job.width; ++x)
        samples[x] = sample(mean[x], sigma[x], noise[x], offset) ^ invert;
}

void renderDark(const SRowJob& job, int16_t level, uint16_t* __restrict samples)
{
    const int16_t offset = job.offset;
    const uint16_t invert = job.invert;
    const int16_t* __restrict noise = job.noise;
    for (int x = 0; x < job.width; ++x)
        samples[x] = sample(level, 64, noise[x], offset) ^ invert;
}

} // namespace obrisim
