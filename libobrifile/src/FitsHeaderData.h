#pragma once

#include <map>
#include <string>

namespace libobrifile {

/// The values of a FITS header by key, all as text, numbers in decimal.
///
/// The integer getters throw std::invalid_argument when the value is absent or no number,
/// std::out_of_range when it does not fit.
class FitsHeaderData {
public:
    virtual ~FitsHeaderData() = default;

    virtual void SetWidth(int width);
    virtual int GetWidth();
    virtual void SetHeight(int height);
    virtual int GetHeight();
    virtual void SetBitpix(int bitpix);
    virtual int GetBitpix();
    virtual void SetObject(std::string object);
    virtual std::string GetObject();
    virtual void SetTelescope(std::string telescope);
    virtual std::string GetTelescope();
    virtual void SetInstrument(std::string instrument);
    virtual std::string GetInstrument();
    virtual void SetObserver(std::string observer);
    virtual std::string GetObserver();
    virtual void SetComment(std::string comment);
    virtual std::string GetComment();
    virtual void SetValueForKey(std::string key, std::string value);
    /// The value, or an empty text when the key is absent.
    virtual std::string GetValueForKey(std::string key);

protected:
    std::map<std::string, std::string> m_keyValuePairs;

private:
    // Inserts an empty value when the key is absent, as the typed getters are meant to.
    int IntegerForKey(const char* key);
};

} // namespace libobrifile
