// Values of any kind in a FITS header: names from the command line, texts of any length, quotes, control characters.
// The file keeps its shape (cards of 80, blocks of 2880, END in its place), and every value is found again as far as
// its card holds it.
//
// Input: one byte that chooses the image's size, then values: a byte that chooses the key, a byte for the length, text.
#include "FitsHeaderData.h"
#include "FitsWriter.h"
#include "Require.h"

#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <sys/mman.h>
#include <vector>

namespace {

constexpr size_t sCard = 80, sBlock = 2880, sLongestText = 68;

// In the order of the file.
constexpr std::array sKeys = {"OBJECT",   "TELESCOP", "INSTRUME", "OBSERVER", "DATE-OBS", "SWCREATE",
                              "YBINNING", "XBINNING", "TRUDEPTH", "GAIN",     "BITSHIFT", "EXTEND",
                              "EXPTIME",  "CCD-TEMP", "IMAGETYP", "HISTORY"};
constexpr size_t sFixedCards = 7; // SIMPLE to BZERO

using Values = std::map<size_t, std::string>; // by number of the key

Values parseValues(const uint8_t* data, size_t size)
{
    Values values;
    for (size_t at = 0; at + 2 <= size;) {
        const size_t length = std::min<size_t>(data[at + 1], size - at - 2);
        values[data[at] % sKeys.size()] = std::string(reinterpret_cast<const char*>(data) + at + 2, length);
        at += 2 + length;
    }
    return values;
}

std::string filled(std::string text, size_t size)
{
    text.resize(size, ' ');
    return text;
}

/// What a card shows of a value: up to the first zero byte, quotes doubled, cut.
std::string expectedCard(const char* key, const std::string& value)
{
    std::string quoted;
    for (char letter : value)
        quoted += letter == '\'' ? std::string("''") : std::string(1, letter);
    return filled(filled(key, 8) + "= '" + quoted.substr(0, sLongestText).c_str() + "'", sCard);
}

void expectHeader(const std::string& file, const Values& values)
{
    require(file.compare(0, 10, "SIMPLE  = ") == 0);
    size_t at = sFixedCards * sCard;
    for (const auto& [key, value] : values) {
        if (value.empty())
            continue;
        require(file.substr(at, sCard) == expectedCard(sKeys[key], value));
        at += sCard;
    }
    require(file.substr(at, sBlock - at) == filled("END", sBlock - at));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string sPath = "/proc/self/fd/" + std::to_string(memfd_create("fits", MFD_CLOEXEC));
    if (size == 0)
        return 0;
    const int width = 1 + data[0] % 7, height = 1 + data[0] / 7;
    const Values values = parseValues(data + 1, size - 1);
    libobrifile::FitsWriter writer(sPath, nullptr);
    libobrifile::FitsHeaderData& header = *writer.GetHeader();
    header.SetWidth(width);
    header.SetHeight(height);
    header.SetBitpix(16);
    for (const auto& [key, value] : values)
        header.SetValueForKey(sKeys[key], value);
    std::vector<uint16_t> image(static_cast<size_t>(width * height));
    writer.WriteImage(image.data());
    std::ifstream in(sPath, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(in), {}};
    require(file.size() == 2 * sBlock);
    expectHeader(file, values);
    return 0;
}
