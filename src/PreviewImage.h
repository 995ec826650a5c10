#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

/// One preview image on its way to the window, laid out as the texture is: 2048 x 2048 words, the
/// image in the first corner and black around it.
struct PreviewImage {
    static constexpr int sStride = 2048; ///< pixels from one row to the next, and rows

    struct SFree {
        void operator()(uint32_t* memory) const noexcept { free(memory); }
    };

    // calloc, so that memory which no image reaches is never touched; null when there is none left.
    std::unique_ptr<uint32_t[], SFree> pixels{
        static_cast<uint32_t*>(calloc(size_t{sStride} * sStride, sizeof(uint32_t)))};
    int width = 0, height = 0;

    /// Copies w * h words, rows without gaps; both sizes 1..2048.
    void assign(const uint32_t* source, int w, int h);

private:
    /// Blackens what the image before has beyond w x h: nothing else was ever written.
    void clearBeyond(int w, int h);
};
