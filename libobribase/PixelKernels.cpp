#include "PixelKernels.h"

#include "PixelPlain.h"

#include <atomic>

namespace libobribase {

namespace {

constexpr SPixelKernels sPortable{"portable",         plainDecodeUnpacked, plainDecodePacked, plainSumWithin,
                                  plainIsZero,        plainCorrect,        plainGrey,         plainToSamples,
                                  plainShadeAndCount, plainMarkOverflow};

std::vector<const SPixelKernels*> availableLevels()
{
    std::vector<const SPixelKernels*> levels{&sPortable};
#if defined(__x86_64__)
    levels.push_back(&sse2PixelKernels());
    if (__builtin_cpu_supports("avx2"))
        levels.push_back(&avx2PixelKernels());
#endif
    return levels;
}

std::atomic<const SPixelKernels*>& chosenLevel()
{
    static std::atomic<const SPixelKernels*> sChosen = pixelLevels().back();
    return sChosen;
}

} // namespace

const std::vector<const SPixelKernels*>& pixelLevels()
{
    static const std::vector<const SPixelKernels*> sLevels = availableLevels();
    return sLevels;
}

const SPixelKernels& pixelKernels()
{
    return *chosenLevel().load(std::memory_order_relaxed);
}

void choosePixelKernels(const SPixelKernels& level)
{
    chosenLevel().store(&level, std::memory_order_relaxed);
}

} // namespace libobribase
