// Hostile compressed blocks. Any block may be refused, none may crash or reach outside its bytes; what
// is accepted, compressed again, must come back as the same image.
//
// Input: one byte that chooses the image's size, then the block.
#include "lag1_compressor.h"
#include "Require.h"

#include <iterator>
#include <map>
#include <vector>

using libobrifile::Compressor;

constexpr std::pair<int, int> sSizes[] = {{1, 1}, {8, 8}, {5, 4}, {16, 4}, {32, 16}, {64, 64}};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const auto [width, height] = sSizes[data[0] % std::size(sSizes)];
    // Reused, as a recording does: what one image leaves in an instance's tables must not reach the next.
    static std::map<int, Compressor> sCompressors;
    Compressor& compressor = sCompressors.try_emplace(width, width, height).first->second;
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
    const auto bytes = static_cast<size_t>(compressor.CompressData(image.data(), scratch.data()));
    require(bytes == 4 || bytes == 2 * image.size() + 8 || bytes < 2 * image.size());
    const std::vector<uint8_t> again(scratch.begin(), scratch.begin() + static_cast<std::ptrdiff_t>(bytes));
    std::vector<uint16_t> back(image.size());
    require(compressor.TryDecompress(again, back.data(), &used) && used == bytes && back == image);
    return 0;
}
