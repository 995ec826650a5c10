#pragma once

#include "FitsHeaderData.h"
#include "IFileWriterAttributesProvider.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace libobrifile {

/// Memory that FitsWriter needs while it writes; kept from one writer to the next when many files are written.
struct SFitsScratch {
    std::vector<uint16_t> samples;      // some rows, encoded
    std::array<char, 64 * 1024> stream; // stdio's buffer: a small image goes to the system in one piece
};

/// Writes one 16-bit monochrome image as one FITS file; docs/file-formats.md shows the bytes.
///
/// Fill GetHeader() first: the image's size is taken from it. Throws std::logic_error (or a class
/// derived from it) when the file cannot be written; nothing of it is left then.
class FitsWriter {
public:
    /// @param filePath replaced when it exists.
    /// @param provider borrowed for the life of the writer.
    /// @param scratch  borrowed for the life of the writer. Null: its own.
    FitsWriter(std::string filePath, IFileWriterAttributesProvider* provider, SFitsScratch* scratch = nullptr);
    FitsWriter(const FitsWriter&) = delete;
    FitsWriter& operator=(const FitsWriter&) = delete;
    virtual ~FitsWriter();

    /// The header's values; owned by the writer.
    virtual FitsHeaderData* GetHeader();
    /// Writes the whole file.
    /// @param image NAXIS1 x NAXIS2 pixels, top row first, borrowed for the call.
    virtual void WriteImage(uint16_t* image);
    virtual std::string GetFilePath();

protected:
    virtual void WriteHeader(FILE* file, FitsHeaderData& header);
    /// Flips the image upside down: a FITS file begins with the bottom row.
    virtual void WriteData(FILE* file, uint16_t* image, int width, int height);
    /// One card of 80 characters.
    /// @param comment empty: the value stands in quotes; otherwise right-justified as it is. Not printed.
    virtual void WriteKeywordRecord(FILE* file, std::string key, std::string value, std::string comment);
    virtual void WriteString(FILE* file, std::string text);
    /// The value with every single quote doubled.
    virtual std::string GetFitsValue(std::string value);

    IFileWriterAttributesProvider* m_attributesProvider; // for derived writers: the header is filled by the caller
    std::unique_ptr<FitsHeaderData> m_header;
    std::string m_filePath;

private:
    std::unique_ptr<SFitsScratch> m_ownScratch;
    SFitsScratch* m_scratch; // the caller's, or m_ownScratch
};

} // namespace libobrifile
