#include "FitsPixels.h"

#include <bit>

namespace libobrifile {

// Without branches or calls, so that the compiler makes vector code of it.
void encodeFitsRow(const uint16_t* row, uint16_t* samples, int width)
{
    for (int x = 0; x < width; ++x) {
        const auto sample = static_cast<uint16_t>(row[x] ^ 0x8000); // minus 32768, modulo 65536
        if constexpr (std::endian::native == std::endian::little)
            samples[x] = static_cast<uint16_t>(sample << 8 | sample >> 8);
        else
            samples[x] = sample;
    }
}

} // namespace libobrifile
