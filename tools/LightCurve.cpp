#include "LightCurve.h"

#include "AdvTime.h"
#include "Progress.h"

#include "TextFormat.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace obriadv {

namespace {

// 12-bit samples in the upper bits: what the sensor's brightest value becomes.
constexpr uint16_t sSaturated = 0xFFF0;
constexpr size_t sFewestSkyPixels = 8;

struct SWeight {
    size_t pixel; ///< number in the image
    double share; ///< of the pixel that lies within the aperture
};

/// Which pixels a layout's frames are measured in.
struct SPixelSet {
    std::vector<SWeight> star;
    std::vector<size_t> sky;
    double area = 0; ///< of the aperture, as the shares sum up
};

/// Share of pixel x,y within the circle, by a grid of points.
double shareInside(int x, int y, const SAperture& aperture)
{
    constexpr int sPoints = 9;
    int inside = 0;
    for (int i = 0; i < sPoints; ++i) {
        for (int j = 0; j < sPoints; ++j) {
            const double dx = x + (i + 0.5) / sPoints - 0.5 - aperture.x;
            const double dy = y + (j + 0.5) / sPoints - 0.5 - aperture.y;
            inside += dx * dx + dy * dy <= aperture.radius * aperture.radius;
        }
    }
    return static_cast<double>(inside) / (sPoints * sPoints);
}

/// Pixels that were recorded: all but the last row, or those within a region.
bool isRecorded(int x, int y, const AdvFile& file, const SAdvLayout& layout)
{
    const bool isInImage =
        x >= 0 && y >= 0 && x < static_cast<int>(file.width()) && y < static_cast<int>(file.height()) - 1;
    if (!isInImage || layout.zones.empty())
        return isInImage;
    return std::any_of(layout.zones.begin(), layout.zones.end(), [&](const SAdvZone& zone) {
        const auto column = static_cast<uint32_t>(x), row = static_cast<uint32_t>(y);
        return column >= zone.x && column - zone.x < zone.w && row >= zone.y && row - zone.y < zone.h;
    });
}

/// False when the aperture is not wholly recorded or hardly any sky is.
bool choosePixels(const AdvFile& file, const SAdvLayout& layout, const SAperture& aperture, SPixelSet& set)
{
    const auto left = static_cast<int>(std::floor(aperture.x - aperture.outer));
    const auto top = static_cast<int>(std::floor(aperture.y - aperture.outer));
    const auto reach = static_cast<int>(std::ceil(2 * aperture.outer)) + 2;
    for (int y = top; y <= top + reach; ++y) {
        for (int x = left; x <= left + reach; ++x) {
            const double share = shareInside(x, y, aperture);
            const double distance = std::hypot(x - aperture.x, y - aperture.y);
            const bool isSky = distance >= aperture.inner && distance <= aperture.outer;
            const bool isUsable = isRecorded(x, y, file, layout);
            if (share > 0 && !isUsable)
                return false;
            const size_t pixel = isUsable ? static_cast<size_t>(y) * file.width() + static_cast<size_t>(x) : 0;
            if (share > 0)
                set.star.push_back({pixel, share});
            if (isSky && isUsable)
                set.sky.push_back(pixel);
            set.area += share;
        }
    }
    return set.sky.size() >= sFewestSkyPixels;
}

double medianOf(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Mean and scatter of the ring without stars and hot pixels.
void measureSky(const std::vector<uint16_t>& pixels, const SPixelSet& set, SLightPoint& point)
{
    std::vector<double> values, deviations;
    for (size_t pixel : set.sky)
        values.push_back(pixels[pixel]);
    const double median = medianOf(values);
    for (double value : values)
        deviations.push_back(std::abs(value - median));
    // 1.4826: from the median deviation to the standard deviation of normal noise; at least one step of 12 bits.
    const double limit = 3 * std::max(1.4826 * medianOf(deviations), 16.0);
    double sum = 0, squares = 0;
    int count = 0;
    for (double value : values) {
        if (std::abs(value - median) > limit)
            continue;
        sum += value - median;
        squares += (value - median) * (value - median);
        ++count;
    }
    const double mean = sum / count; // the median itself is always counted
    point.sky = median + mean;
    point.skySigma = std::sqrt(std::max(0.0, squares / count - mean * mean));
}

void measureFrame(const std::vector<uint16_t>& pixels, const SPixelSet& set, SLightPoint& point)
{
    measureSky(pixels, set, point);
    double sum = 0;
    for (const SWeight& weight : set.star) {
        sum += weight.share * pixels[weight.pixel];
        point.peak = std::max(point.peak, pixels[weight.pixel]);
    }
    point.flux = sum - point.sky * set.area;
    point.isSaturated = point.peak >= sSaturated;
}

SLightPoint timedPoint(size_t n, const SAdvFrame& frame)
{
    // Unsigned: times of damaged records may lie anywhere.
    const auto start = static_cast<uint64_t>(frame.startNs), end = static_cast<uint64_t>(frame.endNs);
    SLightPoint point;
    point.frame = n;
    point.cameraFrameId = frame.status.cameraFrameId;
    point.exposureNs = static_cast<int64_t>(end - start);
    point.midNs = static_cast<int64_t>(start + static_cast<uint64_t>(point.exposureNs / 2));
    return point;
}

} // namespace

std::string checkAperture(const SAperture& a)
{
    const bool isSane = std::isfinite(a.x) && std::isfinite(a.y) && std::abs(a.x) < 1e6 && std::abs(a.y) < 1e6 &&
                        a.radius > 0 && a.inner >= a.radius && a.outer > a.inner && a.outer <= 500;
    return isSane ? "" : "the aperture and the ring do not fit: 0 < radius <= inner < outer <= 500 pixels";
}

std::string measureLightCurve(AdvFile& file, const SAperture& aperture, std::vector<SLightPoint>& points,
                              std::vector<size_t>& skipped)
{
    if (std::string error = checkAperture(aperture); !error.empty())
        return error;
    std::map<const SAdvLayout*, SPixelSet> sets;
    for (const SAdvLayout& layout : file.header().image.layouts)
        if (SPixelSet set; choosePixels(file, layout, aperture, set))
            sets[&layout] = std::move(set);
    Progress progress("measuring", file.frames().size());
    std::vector<uint16_t> pixels;
    for (size_t n = 0; n < file.frames().size(); ++n) {
        const SAdvFrame& frame = file.frames()[n];
        const auto set = sets.find(file.layoutOf(frame));
        if (set == sets.end())
            return "frame " + std::to_string(n) + ": the aperture or its ring lies outside of what was recorded";
        std::string error;
        if (!file.readPixels(n, pixels, error)) {
            skipped.push_back(n);
            continue;
        }
        SLightPoint point = timedPoint(n, frame);
        measureFrame(pixels, set->second, point);
        points.push_back(point);
        progress.show(n);
    }
    return {};
}

std::string lightCurveCsv(const std::vector<SLightPoint>& points)
{
    using libobribase::formatFixed;
    std::string csv = "frame,camera_frame_id,mid_exposure_utc,seconds,exposure_s,flux,sky,sky_sigma,peak,saturated\n";
    for (const SLightPoint& point : points) {
        const double seconds = (static_cast<double>(point.midNs) - static_cast<double>(points[0].midNs)) / sNsPerSecond;
        csv += std::to_string(point.frame) + "," + std::to_string(point.cameraFrameId) + "," + isoTime(point.midNs, 6) +
               "," + formatFixed(seconds, 6) + "," +
               formatFixed(static_cast<double>(point.exposureNs) / sNsPerSecond, 6) + "," + formatFixed(point.flux, 2) +
               "," + formatFixed(point.sky, 2) + "," + formatFixed(point.skySigma, 2) + "," +
               std::to_string(point.peak) + "," + (point.isSaturated ? "1" : "0") + "\n";
    }
    return csv;
}

} // namespace obriadv
