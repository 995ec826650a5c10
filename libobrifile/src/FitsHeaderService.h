#pragma once

#include "FitsHeaderData.h"
#include "IFileWriterAttributesProvider.h"

namespace libobrifile {

/// Fills a FITS header from what the application tells about the recording and the frame.
class FitsHeaderService {
public:
    /// @param headerData borrowed for the life of the service.
    explicit FitsHeaderService(FitsHeaderData* headerData);

    /// Sets size, 16 bits per pixel, and the attributes that the provider knows.
    /// @param width, height image size in pixels.
    void WriteFitsHeaderData(int width, int height, IFileWriterAttributesProvider* provider);

private:
    FitsHeaderData* m_headerData;
};

} // namespace libobrifile
