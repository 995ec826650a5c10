#include "FitsExport.h"

#include "AdvTime.h"
#include "FitsImage.h"
#include "NewFile.h"
#include "Progress.h"

#include "BinaryOverlay.h"
#include "TextFormat.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

namespace obriadv {

namespace {

namespace fs = std::filesystem;

/// To the millisecond that the camera gives, finer where the middle of an exposure falls between two.
std::string fitsTime(int64_t ns)
{
    return isoTime(ns, ns % sNsPerMs == 0 ? 3 : 6);
}

/// The exposure as the camera's data block tells it, to the nanosecond; that between the stamps, which are cut to
/// milliseconds, where there is no block or it speaks of something else.
void writeExposure(FitsImage& fits, int64_t betweenStampsNs, const libobribase::BinaryOverlay& overlay)
{
    const int64_t told = int64_t{overlay.m_exposureSeconds} * sNsPerSecond + overlay.m_exposureNanoseconds;
    if (overlay.m_isValid && told > 0 && std::abs(told - betweenStampsNs) <= sGrainNs)
        fits.real("EXPTIME", static_cast<double>(told) / sNsPerSecond, 9, "[s] exposure");
    else
        fits.real("EXPTIME", static_cast<double>(betweenStampsNs) / sNsPerSecond, 6, "[s] exposure");
}

void writeTimes(FitsImage& fits, const SAdvFrame& frame, const libobribase::BinaryOverlay& overlay)
{
    // Without a valid clock the camera's times mean nothing; absent cards say so better than wrong ones.
    if (!isPlausibleTime(frame.startNs) || !isPlausibleTime(frame.endNs) || frame.endNs < frame.startNs)
        return;
    const int64_t exposure = frame.endNs - frame.startNs;
    fits.text("DATE-OBS", fitsTime(frame.startNs), "start of exposure");
    fits.text("DATE-BEG", fitsTime(frame.startNs), "start of exposure");
    fits.text("DATE-AVG", fitsTime(frame.startNs + exposure / 2), "middle of exposure");
    fits.text("DATE-END", fitsTime(frame.endNs), "end of exposure");
    fits.text("TIMESYS", "UTC", "time scale");
    writeExposure(fits, exposure, overlay);
}

void writeMetadata(FitsImage& fits, const std::vector<SAdvTag>& metadata)
{
    static constexpr struct {
        const char *key, *tag, *comment;
    } sCards[] = {
        {"OBJECT", "OBJNAME", "observed object"},
        {"TELESCOP", "TELESCOPE", "telescope"},
        {"INSTRUME", "INSTRUMENT", "camera"},
        {"OBSERVER", "OBSERVER", "observer"},
        {"RECORDER", "RECORDER-SOFTWARE", "recorded with"},
        {"RECVERS", "RECORDER-SOFTWARE-VERSION", "its version"},
    };
    for (const auto& card : sCards)
        fits.text(card.key, tagValue(metadata, card.tag), card.comment);
    fits.text("SWCREATE", "obri-adv " OBRI_VERSION, "this file was written by");
}

void writeFinite(FitsImage& fits, const char* key, double value, int decimals, const char* comment)
{
    if (std::isfinite(value) && std::abs(value) < 1e12)
        fits.real(key, value, decimals, comment);
}

void writeStatus(FitsImage& fits, const SAdvStatus& status)
{
    if (status.has(EAdvStatus::VideoCameraFrameId))
        fits.integer("FRAMEID", status.cameraFrameId, "camera frame counter");
    double gain = 0;
    if (libobribase::parseDouble(status.gain, &gain))
        writeFinite(fits, "GAIN", gain, 2, "[dB] camera gain");
    if (status.has(EAdvStatus::SystemTime) && isPlausibleTime(status.systemTimeNs))
        fits.text("SYSTIME", fitsTime(status.systemTimeNs), "system time entry of the recording");
    if (status.has(EAdvStatus::FixStatus)) {
        fits.boolean("GPSFIX", (status.fixStatus & 3) == 3, "GPS has a fix");
        fits.integer("GPSSTATE", status.fixStatus, "GPS fix state as the camera gave it");
    }
    if (status.has(EAdvStatus::TrackedSatellites))
        fits.integer("GPSSATS", status.satellites, "GPS satellites tracked");
    const struct {
        const char* key;
        float value;
        EAdvStatus entry;
    } dops[] = {{"GDOP", status.gdop, EAdvStatus::Gdop},
                {"PDOP", status.pdop, EAdvStatus::Pdop},
                {"TDOP", status.tdop, EAdvStatus::Tdop},
                {"VDOP", status.vdop, EAdvStatus::Vdop},
                {"HDOP", status.hdop, EAdvStatus::Hdop}};
    for (const auto& dop : dops)
        if (status.has(dop.entry))
            writeFinite(fits, dop.key, dop.value, 2, "GPS dilution of precision");
    if (status.has(EAdvStatus::Temperature))
        writeFinite(fits, "TEMPRAW", status.temperature, 8, "raw temperature code, -999: none");
}

/// Position from the recording's metadata, which hold no longitude.
void writeMetadataPosition(FitsImage& fits, const std::vector<SAdvTag>& metadata)
{
    double value = 0;
    if (libobribase::parseDouble(tagValue(metadata, "LATITUDE"), &value))
        writeFinite(fits, "OBSGEO-B", value, 7, "[deg] latitude, north positive");
    if (libobribase::parseDouble(tagValue(metadata, "ALTITUDE"), &value))
        writeFinite(fits, "OBSGEO-H", value, 3, "[m] height");
}

/// Position and temperature from the camera's data block in the frame's last row; where there is none, or the GPS
/// had no fix, the position from the recording's metadata.
void writePosition(FitsImage& fits, const AdvFile& file, libobribase::BinaryOverlay& overlay)
{
    int degrees = 0;
    if (overlay.m_isValid && overlay.GetTemperature(&degrees))
        fits.integer("CCD-TEMP", degrees, "[C] sensor temperature");
    if (!overlay.m_isValid || (overlay.m_fixState & 3) != 3) {
        writeMetadataPosition(fits, file.header().systemMetadata);
        return;
    }
    fits.real("OBSGEO-B", overlay.m_latitudeE7 * 1e-7, 7, "[deg] GPS latitude, north positive");
    fits.real("OBSGEO-L", overlay.m_longitudeE7 * 1e-7, 7, "[deg] GPS longitude, east positive");
    fits.real("OBSGEO-H", overlay.m_altitudeMm * 1e-3, 3, "[m] GPS height");
    fits.integer("GPSACC", overlay.m_accuracyM, "[m] GPS accuracy");
}

std::string writeFile(const std::string& path, const void* bytes, size_t length)
{
    std::string error;
    const std::unique_ptr<NewFile> out = NewFile::create(path, error);
    if (!out)
        return error;
    out->write(bytes, length);
    return out->commit(error, false) ? "" : error;
}

std::string writeFits(const AdvFile& file, size_t n, const std::vector<uint16_t>& pixels, const std::string& path)
{
    const SAdvFrame& frame = file.frames()[n];
    libobribase::BinaryOverlay overlay;
    const size_t before = pixels.size() - file.width();
    overlay.ParseBinaryOverlay(pixels.data() + before, before, file.width());
    FitsImage fits(file.width(), file.height());
    writeTimes(fits, frame, overlay);
    writeMetadata(fits, file.header().systemMetadata);
    fits.integer("FRAMENO", static_cast<int64_t>(n), "number in the recording, from 0");
    writeStatus(fits, frame.status);
    writePosition(fits, file, overlay);
    fits.text("ROWORDER", "BOTTOM-UP", "the first row is the bottom of the picture");
    fits.pixels(pixels);
    size_t length = 0;
    std::string error;
    const void* bytes = fits.finish(length, error);
    return bytes ? writeFile(path, bytes, length) : error;
}

std::string numberedName(const std::string& recording, size_t n)
{
    char number[32];
    snprintf(number, sizeof number, "_%05zu.fits", n);
    return fs::path(recording).stem().string() + number;
}

} // namespace

std::string exportFrame(AdvFile& file, size_t n, const std::string& path)
{
    std::vector<uint16_t> pixels;
    std::string error;
    return file.readPixels(n, pixels, error) ? writeFits(file, n, pixels, path) : error;
}

std::string exportAll(AdvFile& file, const std::string& recording, const std::string& folder)
{
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure)
        return "cannot make the folder \"" + folder + "\" (" + failure.message() + ")";
    const size_t count = file.frames().size();
    Progress progress("exporting", count);
    std::vector<uint16_t> pixels;
    std::string firstDamaged, error;
    size_t written = 0;
    for (size_t n = 0; n < count; ++n) {
        if (!file.readPixels(n, pixels, error)) {
            firstDamaged = firstDamaged.empty() ? error : firstDamaged;
            continue;
        }
        const fs::path path = fs::path(folder) / numberedName(recording, n);
        if (error = writeFits(file, n, pixels, path.string()); !error.empty())
            return error + "; " + std::to_string(written) + " of " + std::to_string(count) + " frames were exported";
        ++written;
        progress.show(n + 1);
    }
    return written == count ? ""
                            : std::to_string(count - written) + " of " + std::to_string(count) +
                                  " frames could not be exported; " + firstDamaged;
}

} // namespace obriadv
