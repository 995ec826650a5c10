#include "FitsSky.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <map>
#include <stdexcept>

namespace obrisim {

constexpr size_t sBlock = 2880, sCard = 80, sMaxHeaderBlocks = 1000;
constexpr int sMaxSide = 16384;

using Header = std::map<std::string, std::string>;

static std::string trimmed(const std::string& text)
{
    const auto from = text.find_first_not_of(' ');
    return from == std::string::npos ? "" : text.substr(from, text.find_last_not_of(' ') - from + 1);
}

/// Adds a block's cards to the header; true when the block held the END card.
static bool addCards(const std::array<char, sBlock>& block, Header& header)
{
    for (size_t at = 0; at < sBlock; at += sCard) {
        const std::string card(&block[at], sCard);
        const std::string key = trimmed(card.substr(0, 8));
        if (key == "END")
            return true;
        if (card.compare(8, 2, "= ") == 0)
            header[key] = trimmed(card.substr(10, card.find('/', 10) - 10));
    }
    return false;
}

static Header readHeader(std::istream& file, const std::string& path)
{
    Header header;
    std::array<char, sBlock> block;
    for (size_t i = 0; i < sMaxHeaderBlocks && file.read(block.data(), sBlock); ++i)
        if (addCards(block, header))
            return header;
    throw std::runtime_error(path + ": no FITS header");
}

// Numbers in a header have a decimal point, whatever the locale says, and may have an exponent behind E or D.
static double number(const Header& header, const std::string& key, double otherwise)
{
    const auto found = header.find(key);
    if (found == header.end())
        return otherwise;
    std::string text = found->second;
    std::ranges::replace(text, 'D', 'E');
    double value = 0;
    std::from_chars(text.data() + text.starts_with('+'), text.data() + text.size(), value);
    return value;
}

static int side(const Header& header, const char* key, const std::string& path)
{
    const double value = number(header, key, 0);
    if (!(value >= 1 && value <= sMaxSide))
        throw std::runtime_error(path + ": " + key + " is not a usable size");
    return static_cast<int>(value);
}

SPicture readFitsPicture(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path + ": cannot be opened");
    const Header header = readHeader(file, path);
    if (number(header, "BITPIX", 0) != 16 || number(header, "NAXIS", 0) != 2)
        throw std::runtime_error(path + ": not a two-dimensional image of 16-bit integers");
    SPicture picture{side(header, "NAXIS1", path), side(header, "NAXIS2", path), {}};
    const auto zero = static_cast<float>(number(header, "BZERO", 0)),
               scale = static_cast<float>(number(header, "BSCALE", 1));
    std::vector<char> data(size_t{2} * picture.width * picture.height);
    if (!file.read(data.data(), static_cast<std::streamsize>(data.size())))
        throw std::runtime_error(path + ": the image is cut short");
    picture.pixels.resize(data.size() / 2);
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const auto stored =
            static_cast<int16_t>(static_cast<uint8_t>(data[2 * i]) << 8 | static_cast<uint8_t>(data[2 * i + 1]));
        picture.pixels[i] = std::max(0.0f, zero + scale * stored);
    }
    return picture;
}

} // namespace obrisim
