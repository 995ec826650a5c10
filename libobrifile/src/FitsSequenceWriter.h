#pragma once

#include "BaseWriter.h"
#include "FitsWriter.h"

#include <cstdint>
#include <memory>
#include <string>

namespace libobrifile {

/// Records every frame into a FITS file of its own. RecordFrame throws what FitsWriter throws.
class FitsSequenceWriter : public BaseWriter {
public:
    explicit FitsSequenceWriter(IFileWriterAttributesProvider* provider);
    ~FitsSequenceWriter() override;

    /// Says where frames go; opens nothing.
    /// @param pathTemplate path of a frame's file, with "[FRAMENR]" where the frame's number goes
    ///                     (five digits or more, from 00001). Without it each frame replaces the one before.
    void CreateFitsSequence(std::string pathTemplate, unsigned int width, unsigned int height,
                            unsigned char nativeBitsPerPixel);
    /// "FITS Sequence 16-bit" and the like.
    std::string GetFormatName() override;

    /// The path of a sequence's frame; frameNr counts from 1.
    static std::string FramePath(const std::string& pathTemplate, uint32_t frameNr);

protected:
    void OnRecordHeader() override;
    void OnRecordFrame(uint8_t* data, uint64_t size, uint64_t timestamp) override;
    void OnRecordTrailer() override;

    void WriteFitsFileStaticHeader();
    void WriteFitsFileDynamicHeader();

private:
    std::string m_pathTemplate;
    // The base's fields of these names belong to the file that a sequence does not have.
    int32_t m_w;
    int32_t m_h;
    uint8_t m_nativeBitsPerPixel;
    std::unique_ptr<FitsWriter> m_fitsWriter; // while a frame is written
    SFitsScratch m_scratch;                   // kept from frame to frame
};

} // namespace libobrifile
