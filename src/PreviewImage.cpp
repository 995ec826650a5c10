#include "PreviewImage.h"

#include <cstring>

void PreviewImage::assign(const uint32_t* source, int w, int h)
{
    if (w != width || h != height)
        memset(pixels.get(), 0, size_t{sStride} * sStride * sizeof(uint32_t));
    for (int y = 0; y < h; ++y)
        memcpy(&pixels[size_t{sStride} * y], source + static_cast<size_t>(w) * y, w * sizeof(uint32_t));
    width = w;
    height = h;
}
