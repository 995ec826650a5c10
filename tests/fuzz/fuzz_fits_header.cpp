// Values of any kind in a FITS header: names from the command line, texts of any length, quotes, control characters.
// The file keeps its shape (cards of 80, blocks of 2880, END in its place), and every value is found again as far as
// its card holds it.
//
// Input: one byte that chooses the image's size, then values: a byte that chooses the key, a byte for the length, text.
#include "FitsHeaderData.h"
#include "FitsWriter.h"
#include "Require.h"

#include <array>
#include <map>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
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

/// What a card shows of a value: up to the first zero byte, quotes doubled, cut.
std::string expectedCard(const char* key, const std::string& value)
{
    std::string quoted;
    for (char letter : value)
        quoted += letter == '\'' ? std::string("''") : std::string(1, letter);
    quoted = quoted.substr(0, sLongestText).c_str();
    std::string card = key;
    card.resize(8, ' ');
    card += "= '" + quoted + "'";
    card.resize(sCard, ' ');
    return card;
}

std::string written(int descriptor)
{
    std::string bytes(3 * sBlock, '\0');
    bytes.resize(static_cast<size_t>(pread(descriptor, bytes.data(), bytes.size(), 0)));
    return bytes;
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
    std::string end = "END";
    end.resize(sBlock - at, ' ');
    require(file.substr(at, sBlock - at) == end);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int sMemoryFile = memfd_create("fits", MFD_CLOEXEC);
    static const std::string sPath = "/proc/self/fd/" + std::to_string(sMemoryFile);
    if (size == 0)
        return 0;
    const size_t width = 1 + data[0] % 7, height = 1 + data[0] / 7;
    const Values values = parseValues(data + 1, size - 1);
    libobrifile::FitsWriter writer(sPath, nullptr);
    libobrifile::FitsHeaderData& header = *writer.GetHeader();
    header.SetWidth(static_cast<int>(width));
    header.SetHeight(static_cast<int>(height));
    header.SetBitpix(16);
    for (const auto& [key, value] : values)
        header.SetValueForKey(sKeys[key], value);
    std::vector<uint16_t> image(width * height);
    writer.WriteImage(image.data());
    const std::string file = written(sMemoryFile);
    require(file.size() == 2 * sBlock);
    expectHeader(file, values);
    return 0;
}
