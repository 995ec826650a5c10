#include "PreviewImage.h"

#include <algorithm>
#include <cstring>

void PreviewImage::assign(const uint32_t* source, int w, int h)
{
    if (w < width || h < height)
        clearBeyond(w, h);
    for (int y = 0; y < h; ++y)
        memcpy(&pixels[size_t{sStride} * y], source + static_cast<size_t>(w) * y, w * sizeof(uint32_t));
    width = w;
    height = h;
}

void PreviewImage::clearBeyond(int w, int h)
{
    for (int y = 0; y < height; ++y) {
        const int kept = y < h ? std::min(w, width) : 0;
        std::fill_n(&pixels[size_t{sStride} * y] + kept, width - kept, 0U);
    }
}
