#include "FitsWriter.h"

#include "FitsPixels.h"
#include "TextFormat.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace libobrifile {

namespace {
const std::string gSpaces80(80, ' ');
constexpr size_t sKeyLength = 8, sCardLength = 80, sBlockLength = 2880;
constexpr size_t sLongestFixedValue = 20, sLongestString = 68;
constexpr char sDataFill = '/'; // not zero bytes, on purpose
// Bytes that are encoded before they go on: into stdio's buffer while they are still in the processor's first cache,
// or, of an image that does not fit there, to the system in pieces that the page cache takes at less cost a page.
constexpr size_t sPieceToCopy = 8 * 1024, sPieceToWrite = 1024 * 1024;

constexpr const char *sFixed = " ", *sQuoted = "";

// Cards that are written when they have a value, in the order of the file. Numbers too are quoted, on purpose.
constexpr const char* sOptionalKeys[] = {"OBJECT",   "TELESCOP", "INSTRUME", "OBSERVER", "DATE-OBS", "SWCREATE",
                                         "YBINNING", "XBINNING", "TRUDEPTH", "GAIN",     "BITSHIFT", "EXTEND",
                                         "EXPTIME",  "CCD-TEMP", "IMAGETYP", "HISTORY"};

using FileHandle = std::unique_ptr<FILE, int (*)(FILE*)>;

// Throws where any write has failed, this last one or the closing.
void closeWhole(FileHandle file)
{
    if (ferror(file.get()) != 0 || fflush(file.get()) != 0 || fclose(file.release()) != 0)
        throw std::system_error(errno, std::generic_category());
}

size_t position(FILE* file)
{
    return static_cast<size_t>(ftello64(file));
}

// Takes away a file that did not come out whole. A device stays.
void discard(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        unlink(path.c_str());
}
} // namespace

FitsWriter::FitsWriter(std::string filePath, IFileWriterAttributesProvider* provider, SFitsScratch* scratch)
    : m_attributesProvider(provider), m_header(std::make_unique<FitsHeaderData>()), m_filePath(std::move(filePath)),
      m_ownScratch(scratch == nullptr ? std::make_unique<SFitsScratch>() : nullptr),
      m_scratch(scratch != nullptr ? scratch : m_ownScratch.get())
{
}

FitsWriter::~FitsWriter() = default;

FitsHeaderData* FitsWriter::GetHeader()
{
    return m_header.get();
}

std::string FitsWriter::GetFilePath()
{
    return m_filePath;
}

void FitsWriter::WriteImage(uint16_t* image)
{
    FileHandle file(fopen64(m_filePath.c_str(), "wb"), fclose);
    if (file == nullptr)
        throw std::logic_error("Failed to open FITS file for writing.");
    setvbuf(file.get(), m_scratch->stream.data(), _IOFBF, m_scratch->stream.size());
    try {
        WriteHeader(file.get(), *m_header);
        WriteData(file.get(), image, m_header->GetWidth(), m_header->GetHeight());
        closeWhole(std::move(file));
    } catch (const std::logic_error&) {
        discard(m_filePath);
        throw;
    } catch (const std::system_error& error) {
        discard(m_filePath);
        throw std::logic_error("Failed to write FITS file. (" + error.code().message() + ")");
    } catch (...) {
        discard(m_filePath);
        throw std::logic_error("Failed to write FITS file.");
    }
}

void FitsWriter::WriteHeader(FILE* file, FitsHeaderData& header)
{
    WriteKeywordRecord(file, "SIMPLE", "T", sFixed);
    WriteKeywordRecord(file, "BITPIX", header.GetValueForKey("BITPIX"), sFixed);
    WriteKeywordRecord(file, "NAXIS", "2", sFixed);
    WriteKeywordRecord(file, "NAXIS1", header.GetValueForKey("NAXIS1"), sFixed);
    WriteKeywordRecord(file, "NAXIS2", header.GetValueForKey("NAXIS2"), sFixed);
    WriteKeywordRecord(file, "BSCALE", "1.0", sFixed);
    WriteKeywordRecord(file, "BZERO", "32768", sFixed);
    for (const char* key : sOptionalKeys) {
        std::string value = header.GetValueForKey(key);
        if (!value.empty())
            WriteKeywordRecord(file, key, std::move(value), sQuoted);
    }
    WriteKeywordRecord(file, "END", "", sQuoted);
    // 24 cards at most, so one block holds them.
    const size_t written = position(file);
    if (written < sBlockLength)
        WriteString(file, std::string(sBlockLength - written, ' '));
}

void FitsWriter::WriteData(FILE* file, uint16_t* image, int width, int height)
{
    if (width < 0 || height < 0)
        throw std::invalid_argument("FITS image of negative size");
    const size_t columns = static_cast<size_t>(width), rowBytes = columns * sizeof(uint16_t);
    const bool isBuffered = rowBytes * static_cast<size_t>(height) + sBlockLength <= m_scratch->stream.size();
    const size_t rowsAtATime = std::max<size_t>(1, (isBuffered ? sPieceToCopy : sPieceToWrite) / (rowBytes + 1));
    m_scratch->samples.resize(rowsAtATime * columns);
    uint16_t* samples = m_scratch->samples.data();
    for (size_t rowsLeft = static_cast<size_t>(height); rowsLeft != 0;) {
        const size_t rows = std::min(rowsLeft, rowsAtATime);
        for (size_t y = 0; y < rows; ++y)
            encodeFitsRow(image + --rowsLeft * columns, samples + y * columns, width);
        fwrite(samples, sizeof(uint16_t), rows * columns, file);
    }
    const size_t lastBlock = position(file) % sBlockLength;
    if (lastBlock != 0)
        WriteString(file, std::string(sBlockLength - lastBlock, sDataFill));
}

void FitsWriter::WriteKeywordRecord(FILE* file, std::string key, std::string value, std::string comment)
{
    // Put together by hand: twenty cards made by printf take as long as the pixels of a small image.
    std::string card = std::move(key);
    card.reserve(2 * sCardLength);
    card.resize(std::max(card.size(), sKeyLength), ' ');
    if (!value.empty()) {
        value = GetFitsValue(std::move(value));
        const bool isFixed = !comment.empty();
        value.resize(std::min(value.size(), isFixed ? sLongestFixedValue : sLongestString));
        value.resize(strlen(value.c_str())); // a zero byte ends what a card shows
        card += isFixed ? "= " : "= '";
        if (isFixed)
            card.append(sLongestFixedValue - value.size(), ' ');
        card += value;
        card += isFixed ? " /" : "'";
    }
    card += gSpaces80;
    card.resize(sCardLength);
    WriteString(file, std::move(card));
}

void FitsWriter::WriteString(FILE* file, std::string text)
{
    fwrite(text.data(), 1, text.size(), file);
}

std::string FitsWriter::GetFitsValue(std::string value)
{
    return libobribase::ReplaceString(std::move(value), "'", "''");
}

} // namespace libobrifile
