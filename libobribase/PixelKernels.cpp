#include "PixelKernels.h"

#include "PixelPlain.h"

namespace libobribase {

const SPixelKernels& pixelKernels()
{
    static constexpr SPixelKernels sPortable{
        "portable",   plainDecodeUnpacked, plainDecodePacked, plainSumWithin,      plainIsZero,
        plainCorrect, plainGrey,           plainColour,       plainColourAndCount, plainMarkOverflow,
    };
    return sPortable;
}

} // namespace libobribase
