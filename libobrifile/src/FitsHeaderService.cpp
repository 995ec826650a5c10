#include "FitsHeaderService.h"

#include <utility>

namespace libobrifile {

namespace {
struct SFitsAttribute {
    const char* attribute;
    const char* key;
    bool evenIfEmpty;
};

// CCD_TEMP with an underscore, on purpose: the writer looks for CCD-TEMP, so the file shows no temperature.
constexpr SFitsAttribute sAttributes[] = {
    {"TELESCOP", "TELESCOP", false},
    {"OBSERVER", "OBSERVER", false},
    {"INSTRUME", "INSTRUME", false},
    {"OBJECT", "OBJECT", false},
    {"RA", "RA", false},
    {"DEC", "DEC", false},
    {"DATE-OBS", "DATE-OBS", true},
    {"EXPTIME", "EXPTIME", true},
    {"CCD-TEMP", "CCD_TEMP", true},
};
constexpr int sBitsPerPixel = 16;
} // namespace

FitsHeaderService::FitsHeaderService(FitsHeaderData* headerData) : m_headerData(headerData) {}

void FitsHeaderService::WriteFitsHeaderData(int width, int height, IFileWriterAttributesProvider* provider)
{
    m_headerData->SetWidth(width);
    m_headerData->SetHeight(height);
    m_headerData->SetBitpix(sBitsPerPixel);

    std::map<std::string, std::string> attributes;
    provider->GetHeaderAttributes(attributes);
    provider->GetFrameAttributes(attributes);
    for (const auto& [attribute, key, evenIfEmpty] : sAttributes) {
        std::string& value = attributes[attribute];
        if (evenIfEmpty || !value.empty())
            m_headerData->SetValueForKey(key, std::move(value));
    }
}

} // namespace libobrifile
