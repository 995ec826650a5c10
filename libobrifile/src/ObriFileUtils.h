#pragma once

#include <string>

namespace libobribase {
class CameraStatus;
}

namespace libobrifile {

/// Names of FITS files.
class ObriFileUtils {
public:
    /// A file name from the present UTC date and the camera's settings, such as
    /// "20240305_060708_640x480_G7H_40ms_[FRAMENR].fits".
    /// @param extension       without its point.
    /// @param withFrameNumber non-zero: "_[FRAMENR]" goes before the extension.
    /// @param frameType       'D' dark or 'F' flat (shorter names), 'P', or 0 for none.
    /// @param width, height   image size in pixels.
    static std::string CreateFileName(std::string extension, int withFrameNumber, char frameType,
                                      libobribase::CameraStatus* status, int width, int height);
};

} // namespace libobrifile
