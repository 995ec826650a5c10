// Hostile compressed blocks. Any block may be refused, none may crash or reach outside its bytes; what
// is accepted, compressed again, must come back as the same image.
//
// Input: one byte that chooses the image's size, then the block.
#include "lag1_compressor.h"
#include "Require.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

using libobrifile::Compressor;

namespace {

void expectReversible(Compressor& compressor, std::vector<uint16_t>& image, std::vector<uint8_t>& scratch)
{
    const auto size = static_cast<size_t>(compressor.CompressData(image.data(), scratch.data()));
    require(size == 4 || size == 2 * image.size() + 8 || size < 2 * image.size());
    const std::vector<uint8_t> block(scratch.begin(), scratch.begin() + static_cast<std::ptrdiff_t>(size));
    std::vector<uint16_t> again(image.size());
    size_t used = 0;
    require(compressor.TryDecompress(block, again.data(), &used) && used == size && again == image);
}

struct SSize {
    int width, height;
};
constexpr SSize sSizes[] = {{1, 1}, {8, 8}, {5, 4}, {16, 4}, {32, 16}, {64, 64}};
constexpr size_t sSizeCount = std::size(sSizes);

// Reused, as a recording does: an instance's tables are large, and what one image leaves in them must
// not reach the next.
Compressor& compressorOf(size_t size)
{
    static std::unique_ptr<Compressor> compressors[sSizeCount];
    if (!compressors[size])
        compressors[size] = std::make_unique<Compressor>(sSizes[size].width, sSizes[size].height);
    return *compressors[size];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const auto [width, height] = sSizes[data[0] % sSizeCount];
    Compressor& compressor = compressorOf(data[0] % sSizeCount);
    const std::vector<uint8_t> block(data + 1, data + size); // exactly its size: the sanitizer sees its end
    std::vector<uint16_t> image(static_cast<size_t>(width) * static_cast<size_t>(height));

    size_t used = 0;
    const bool good = compressor.TryDecompress(block, image.data(), &used);
    require(used <= block.size());
    if (!good)
        return 0;
    const std::vector<uint8_t> whole(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(used));
    std::vector<uint16_t> same(image.size());
    compressor.DecompressData(std::span<const uint8_t>(whole), same.data());
    require(same == image);
    std::vector<uint8_t> scratch(Compressor::ScratchBytes(width, height));
    expectReversible(compressor, image, scratch);
    return 0;
}
