#pragma once

#include <fitsio.h>
#include <memory>
#include <string>

namespace obriadv {

/// Closes a cfitsio file whatever happens; only for files that are read.
struct SFitsCloser {
    void operator()(fitsfile* file) const noexcept
    {
        int status = 0;
        fits_close_file(file, &status);
        fits_clear_errmsg();
    }
};
using FitsHandle = std::unique_ptr<fitsfile, SFitsCloser>;

/// Opens a file by its plain name: brackets in it are letters, not commands to cfitsio.
FitsHandle openFits(const std::string& path, int& status);

/// cfitsio's short text of a status.
std::string fitsError(int status);

} // namespace obriadv
