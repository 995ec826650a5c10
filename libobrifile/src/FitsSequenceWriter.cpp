#include "FitsSequenceWriter.h"

#include "FitsHeaderService.h"
#include "TextFormat.h"

#include <cstdio>
#include <utility>

namespace libobrifile {

namespace {
// Empties its pointer at the end of the scope, however it is left.
struct SResetAtEnd {
    std::unique_ptr<FitsWriter>& writer;
    ~SResetAtEnd() { writer.reset(); }
};
} // namespace

FitsSequenceWriter::FitsSequenceWriter(IFileWriterAttributesProvider* provider)
    : BaseWriter(provider), m_w(0), m_h(0), m_nativeBitsPerPixel(0)
{
}

FitsSequenceWriter::~FitsSequenceWriter() = default;

void FitsSequenceWriter::CreateFitsSequence(std::string pathTemplate, unsigned int width, unsigned int height,
                                            unsigned char nativeBitsPerPixel)
{
    m_pathTemplate = std::move(pathTemplate);
    m_w = static_cast<int32_t>(width);
    m_h = static_cast<int32_t>(height);
    m_nativeBitsPerPixel = nativeBitsPerPixel;
}

std::string FitsSequenceWriter::GetFormatName()
{
    return "FITS Sequence " + std::to_string(m_nativeBitsPerPixel) + "-bit";
}

std::string FitsSequenceWriter::FramePath(const std::string& pathTemplate, uint32_t frameNr)
{
    char number[16];
    snprintf(number, sizeof number, "%05u", static_cast<unsigned>(frameNr));
    return libobribase::ReplaceString(pathTemplate, "[FRAMENR]", number);
}

void FitsSequenceWriter::OnRecordHeader() {}

void FitsSequenceWriter::OnRecordFrame(uint8_t* data, uint64_t, uint64_t)
{
    const SResetAtEnd resetAtEnd{m_fitsWriter};
    m_fitsWriter =
        std::make_unique<FitsWriter>(FramePath(m_pathTemplate, m_frameNr + 1), m_attributesProvider, &m_scratch);
    WriteFitsFileStaticHeader();
    WriteFitsFileDynamicHeader();
    m_fitsWriter->WriteImage(reinterpret_cast<uint16_t*>(data));
}

void FitsSequenceWriter::OnRecordTrailer() {}

void FitsSequenceWriter::WriteFitsFileStaticHeader()
{
    FitsHeaderService(m_fitsWriter->GetHeader()).WriteFitsHeaderData(m_w, m_h, m_attributesProvider);
}

void FitsSequenceWriter::WriteFitsFileDynamicHeader()
{
    std::map<std::string, std::string> attributes;
    m_attributesProvider->GetFrameAttributes(attributes);
    for (const char* key : {"DATE-OBS", "EXPTIME"})
        m_fitsWriter->GetHeader()->SetValueForKey(key, std::move(attributes[key]));
}

} // namespace libobrifile
