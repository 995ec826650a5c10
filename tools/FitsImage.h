#pragma once

#include <cstdint>
#include <fitsio.h>
#include <string>
#include <vector>

namespace obriadv {

/// Builds a FITS file of one 16-bit image in memory. The first failure is kept; later calls then do nothing.
class FitsImage {
public:
    FitsImage(uint32_t width, uint32_t height);
    ~FitsImage();
    FitsImage(const FitsImage&) = delete;
    FitsImage& operator=(const FitsImage&) = delete;

    /// Cards; an empty text gives no card. Text is cut to what FITS allows: ASCII without control characters.
    void text(const char* key, const std::string& value, const char* comment);
    void integer(const char* key, int64_t value, const char* comment);
    void real(const char* key, double value, int decimals, const char* comment);
    void boolean(const char* key, bool value, const char* comment);

    /// width x height pixels, top row first; stored bottom row first.
    void pixels(const std::vector<uint16_t>& pixels);

    /// Ends the file and gives its bytes; null with the reason in error after a failure. Valid as long as this object.
    const void* finish(size_t& length, std::string& error);

private:
    fitsfile* m_file = nullptr;
    void* m_memory = nullptr; // cfitsio's, grown by realloc
    size_t m_memoryBytes = 0;
    int m_status = 0;
    uint32_t m_width, m_height;
};

} // namespace obriadv
