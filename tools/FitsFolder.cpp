#include "FitsFolder.h"

#include "AdvTime.h"
#include "FitsHandle.h"
#include "NumberText.h"
#include "Progress.h"
#include "SafeText.h"

#include "TextFormat.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>

namespace obriadv {

FitsHandle openFits(const std::string& path, int& status)
{
    fitsfile* file = nullptr;
    fits_open_diskfile(&file, path.c_str(), READONLY, &status);
    fits_clear_errmsg();
    return FitsHandle(status == 0 ? file : nullptr);
}

std::string fitsError(int status)
{
    char text[FLEN_ERRMSG] = "";
    fits_get_errstatus(status, text);
    return text;
}

namespace {

namespace fs = std::filesystem;

struct SFitsFile {
    std::string name;
    uint64_t number = 0;
    std::string label; ///< the number as it stands in the name
    // Read from the file:
    long width = 0, height = 0;
    bool hasTime = false;
    SFrameTime time;
    bool hasCounter = false;
};

// By the name before the number; files without a number at the end stand alone.
using Sequences = std::map<std::string, std::vector<SFitsFile>>;

/// Splits "NAME_00017.fits", or "NAME_00017-2.fits" where the first name was taken; the latter are a sequence of their
/// own. False when the name does not end in "_" and digits.
bool splitName(const fs::path& path, std::string& stem, SFitsFile& file)
{
    constexpr const char* sDigits = "0123456789";
    std::string name = path.stem().string(), again;
    const size_t dash = name.find_last_not_of(sDigits);
    if (dash != std::string::npos && name[dash] == '-') {
        again = name.substr(dash);
        name.resize(dash);
    }
    const size_t digits = name.find_last_not_of(sDigits) + 1;
    if (digits == 0 || name[digits - 1] != '_' || !parseInteger(std::string_view(name).substr(digits), file.number))
        return false;
    stem = name.substr(0, digits) + again;
    file.label = name.substr(digits);
    return true;
}

bool isFitsName(const fs::path& path)
{
    std::string extension = path.extension().string();
    for (char& letter : extension)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 'a' - 'A') : letter;
    return extension == ".fits" || extension == ".fit";
}

Sequences listFolder(const std::string& folder, std::error_code& error)
{
    Sequences sequences;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (!isFitsName(entry->path()) || !entry->is_regular_file(ignored))
            continue;
        SFitsFile file;
        file.name = entry->path().filename().string();
        std::string stem = file.name;
        splitName(entry->path(), stem, file);
        sequences[stem].push_back(file);
    }
    for (auto& [stem, files] : sequences)
        std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.number < b.number; });
    return sequences;
}

/// A card's value as text; numbers may stand in quotes, as the camera program writes them.
std::string cardText(fitsfile* file, const char* key)
{
    char value[FLEN_VALUE] = "", text[FLEN_VALUE] = "";
    int status = 0;
    if (fits_read_keyword(file, key, value, nullptr, &status) == 0)
        fits_read_key(file, TSTRING, key, text, nullptr, &status);
    fits_clear_errmsg();
    return status == 0 ? text : "";
}

void readTimes(fitsfile* handle, SFitsFile& file)
{
    double exposure = 0;
    file.hasTime = parseIsoTime(cardText(handle, "DATE-OBS"), file.time.startNs) &&
                   libobribase::parseDouble(cardText(handle, "EXPTIME"), &exposure) && exposure >= 0 && exposure < 1e6;
    file.time.endNs = file.time.startNs + static_cast<int64_t>(std::llround(exposure * sNsPerSecond));
    file.hasCounter = parseInteger(cardText(handle, "FRAMEID"), file.time.counter);
}

/// Reads size and times; empty, or what is wrong with the file.
std::string readFile(const std::string& path, SFitsFile& file)
{
    int status = 0, axes = 0;
    const FitsHandle handle = openFits(path, status);
    if (!handle)
        return "cannot be opened (" + fitsError(status) + ")";
    long size[2] = {};
    LONGLONG headerAt = 0, dataAt = 0, end = 0;
    fits_get_img_dim(handle.get(), &axes, &status);
    fits_get_img_size(handle.get(), 2, size, &status);
    fits_get_hduaddrll(handle.get(), &headerAt, &dataAt, &end, &status);
    if (status != 0 || axes != 2)
        return "holds no image of two axes";
    file.width = size[0];
    file.height = size[1];
    std::error_code error;
    const uintmax_t bytes = fs::file_size(path, error);
    if (error || bytes < static_cast<uintmax_t>(end))
        return "is cut short: " + std::to_string(bytes) + " of " + std::to_string(end) + " bytes";
    if (bytes > static_cast<uintmax_t>(end))
        return "has " + std::to_string(bytes - static_cast<uintmax_t>(end)) + " bytes behind its image";
    readTimes(handle.get(), file);
    return file.hasTime ? "" : "has no readable DATE-OBS and EXPTIME";
}

void checkNumbers(const std::vector<SFitsFile>& files, const std::string& stem, SVerifyReport& report)
{
    for (size_t i = 1; i < files.size(); ++i) {
        const uint64_t before = files[i - 1].number, behind = files[i].number;
        if (behind == before)
            report.findings.push_back(printable(stem) + ": two files have the number " + files[i].label);
        else if (behind != before + 1)
            report.findings.push_back(printable(stem) + ": no files between " + files[i - 1].label + " and " +
                                      files[i].label);
    }
}

void checkSequence(const std::vector<SFitsFile>& files, const std::string& stem, SVerifyReport& report)
{
    checkNumbers(files, stem, report);
    std::vector<SFrameTime> times;
    std::vector<std::string> labels;
    bool isCounted = true, isOneSize = true;
    for (const SFitsFile& file : files) {
        isOneSize = isOneSize && file.width == files[0].width && file.height == files[0].height;
        if (!file.hasTime)
            continue; // a finding of its own
        times.push_back(file.time);
        labels.push_back(file.label);
        isCounted = isCounted && file.hasCounter;
    }
    if (!isOneSize)
        report.findings.push_back(printable(stem) + ": the images differ in size");
    const std::vector<SGap> gaps = findGaps(times, isCounted);
    report.gaps.insert(report.gaps.end(), gaps.begin(), gaps.end());
    if (!gaps.empty())
        report.gapTable += printable(stem) + "\n" + gapTable(gaps, times, isCounted, labels);
}

} // namespace

SVerifyReport verifyFitsFolder(const std::string& path)
{
    SVerifyReport report;
    std::error_code error;
    Sequences sequences = listFolder(path, error);
    uint64_t total = 0, done = 0;
    for (const auto& [stem, files] : sequences)
        total += files.size();
    if (error || total == 0) {
        report.verdict =
            printable(path) + ": " +
            (error ? "cannot be listed (" + error.message() + ")" : std::string("no FITS files in this folder"));
        return report;
    }
    report.isReadable = true;
    Progress progress("verifying", total);
    for (auto& [stem, files] : sequences) {
        for (SFitsFile& file : files) {
            const std::string wrong = readFile((fs::path(path) / file.name).string(), file);
            if (!wrong.empty())
                report.findings.push_back(printable(file.name) + " " + wrong);
            progress.show(++done);
        }
        checkSequence(files, stem, report);
    }
    report.verdict = verdictStart(printable(path), report) + plural(total, "FITS file") + " in " +
                     plural(sequences.size(), "sequence") + ", " + lossText(report.gaps);
    return report;
}

} // namespace obriadv
