#include "FitsHeaderData.h"

#include <utility>

namespace libobrifile {

namespace {
constexpr const char *sWidth = "NAXIS1", *sHeight = "NAXIS2", *sBitpix = "BITPIX";
constexpr const char *sObject = "OBJECT", *sTelescope = "TELESCOP", *sInstrument = "INSTRUME";
constexpr const char *sObserver = "OBSERVER", *sComment = "COMMENT";
} // namespace

void FitsHeaderData::SetWidth(int width)
{
    SetValueForKey(sWidth, std::to_string(width));
}

int FitsHeaderData::GetWidth()
{
    return IntegerForKey(sWidth);
}

void FitsHeaderData::SetHeight(int height)
{
    SetValueForKey(sHeight, std::to_string(height));
}

int FitsHeaderData::GetHeight()
{
    return IntegerForKey(sHeight);
}

void FitsHeaderData::SetBitpix(int bitpix)
{
    SetValueForKey(sBitpix, std::to_string(bitpix));
}

int FitsHeaderData::GetBitpix()
{
    return IntegerForKey(sBitpix);
}

void FitsHeaderData::SetObject(std::string object)
{
    SetValueForKey(sObject, std::move(object));
}

std::string FitsHeaderData::GetObject()
{
    return GetValueForKey(sObject);
}

void FitsHeaderData::SetTelescope(std::string telescope)
{
    SetValueForKey(sTelescope, std::move(telescope));
}

std::string FitsHeaderData::GetTelescope()
{
    return GetValueForKey(sTelescope);
}

void FitsHeaderData::SetInstrument(std::string instrument)
{
    SetValueForKey(sInstrument, std::move(instrument));
}

std::string FitsHeaderData::GetInstrument()
{
    return GetValueForKey(sInstrument);
}

void FitsHeaderData::SetObserver(std::string observer)
{
    SetValueForKey(sObserver, std::move(observer));
}

std::string FitsHeaderData::GetObserver()
{
    return GetValueForKey(sObserver);
}

void FitsHeaderData::SetComment(std::string comment)
{
    SetValueForKey(sComment, std::move(comment));
}

std::string FitsHeaderData::GetComment()
{
    return GetValueForKey(sComment);
}

void FitsHeaderData::SetValueForKey(std::string key, std::string value)
{
    m_keyValuePairs[std::move(key)] = std::move(value);
}

std::string FitsHeaderData::GetValueForKey(std::string key)
{
    const auto found = m_keyValuePairs.find(key);
    return found == m_keyValuePairs.end() ? std::string() : found->second;
}

int FitsHeaderData::IntegerForKey(const char* key)
{
    return std::stoi(m_keyValuePairs[key]);
}

} // namespace libobrifile
