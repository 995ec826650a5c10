#include "FitsImage.h"

#include "FitsHandle.h"

#include <algorithm>
#include <cstdlib>

namespace obriadv {

namespace {

/// One "?" for each character beyond ASCII and each control character.
std::string asciiOnly(const std::string& text)
{
    std::string ascii;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte >= 0x20 && byte < 0x7F)
            ascii += letter;
        else if ((byte & 0xC0) != 0x80) // not the inner bytes of a character
            ascii += '?';
    }
    return ascii;
}

} // namespace

FitsImage::FitsImage(uint32_t width, uint32_t height) : m_width(width), m_height(height)
{
    constexpr size_t sBlock = 2880, sHeaderBlocks = 4;
    const size_t imageBytes = (size_t{2} * width * height / sBlock + 1) * sBlock;
    // All of it at once, and zero: cfitsio looks at what lies beyond the end before it writes its padding there.
    m_memoryBytes = sHeaderBlocks * sBlock + imageBytes;
    m_memory = calloc(m_memoryBytes, 1);
    if (!m_memory) {
        m_status = MEMORY_ALLOCATION;
        return;
    }
    fits_create_memfile(&m_file, &m_memory, &m_memoryBytes, imageBytes, realloc, &m_status);
    long size[2] = {static_cast<long>(width), static_cast<long>(height)};
    fits_create_img(m_file, USHORT_IMG, 2, size, &m_status);
}

FitsImage::~FitsImage()
{
    int status = 0;
    if (m_file)
        fits_close_file(m_file, &status);
    fits_clear_errmsg();
    free(m_memory);
}

void FitsImage::text(const char* key, const std::string& value, const char* comment)
{
    // What one card holds; a longer text takes more cards by a convention that must be announced.
    constexpr size_t sCardText = 68;
    const std::string ascii = asciiOnly(value);
    if (ascii.empty())
        return;
    if (ascii.size() > sCardText)
        fits_write_key_longwarn(m_file, &m_status);
    fits_write_key_longstr(m_file, key, ascii.c_str(), comment, &m_status);
}

void FitsImage::integer(const char* key, int64_t value, const char* comment)
{
    fits_write_key_lng(m_file, key, static_cast<LONGLONG>(value), comment, &m_status);
}

void FitsImage::real(const char* key, double value, int decimals, const char* comment)
{
    fits_write_key_fixdbl(m_file, key, value, decimals, comment, &m_status);
}

void FitsImage::boolean(const char* key, bool value, const char* comment)
{
    fits_write_key_log(m_file, key, value ? 1 : 0, comment, &m_status);
}

void FitsImage::pixels(const std::vector<uint16_t>& pixels)
{
    std::vector<uint16_t> row(m_width);
    for (uint32_t y = 0; y < m_height; ++y) {
        const auto from = pixels.begin() + static_cast<std::ptrdiff_t>(size_t{m_height - 1 - y} * m_width);
        std::copy(from, from + m_width, row.begin());
        fits_write_img(m_file, TUSHORT, LONGLONG{y} * m_width + 1, m_width, row.data(), &m_status);
    }
}

const void* FitsImage::finish(size_t& length, std::string& error)
{
    LONGLONG headerAt = 0, dataAt = 0, end = 0;
    fits_flush_file(m_file, &m_status);
    fits_get_hduaddrll(m_file, &headerAt, &dataAt, &end, &m_status);
    if (m_status == 0) {
        fits_close_file(m_file, &m_status);
        m_file = nullptr;
    }
    fits_clear_errmsg();
    if (m_status != 0) {
        error = "the FITS library failed (" + fitsError(m_status) + ")";
        return nullptr;
    }
    length = static_cast<size_t>(end);
    return m_memory;
}

} // namespace obriadv
