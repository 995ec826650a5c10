#include "LightCurve.h"

#include "AdvTime.h"
#include "NewFile.h"

#include "TextFormat.h"

#include <algorithm>
#include <array>
#include <cairo.h>
#include <cmath>

namespace obriadv {

namespace {

using libobribase::formatFixed;

/// Places points on a surface of width x height.
class Scale {
public:
    Scale(const std::vector<SLightPoint>& points, double width, double height)
        : m_startNs(points.front().midNs), m_width(width), m_height(height)
    {
        m_low = m_high = points.front().flux;
        for (const SLightPoint& point : points) {
            m_low = std::min(m_low, point.flux);
            m_high = std::max(m_high, point.flux);
            m_seconds = std::max(m_seconds, seconds(point));
        }
        // The zero line, which is always shown, tells how deep a drop is.
        m_low = std::min(m_low, 0.0);
        m_high = std::max(m_high, 0.0);
        if (m_high <= m_low)
            m_high = m_low + 1;
    }

    double seconds(const SLightPoint& point) const
    {
        return (static_cast<double>(point.midNs) - static_cast<double>(m_startNs)) / sNsPerSecond;
    }
    double x(const SLightPoint& point) const
    {
        return m_seconds > 0 ? std::max(0.0, seconds(point)) / m_seconds * m_width : 0;
    }
    double y(double flux) const { return (m_high - flux) / (m_high - m_low) * m_height; }
    double low() const { return m_low; }
    double high() const { return m_high; }
    double duration() const { return m_seconds; }

private:
    int64_t m_startNs;
    double m_width, m_height;
    double m_low = 0, m_high = 0, m_seconds = 0;
};

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

constexpr int sPngWidth = 1200, sPngHeight = 600;
constexpr double sLeft = 110, sTop = 50, sRight = 30, sBottom = 60;
constexpr double sPlotWidth = sPngWidth - sLeft - sRight, sPlotHeight = sPngHeight - sTop - sBottom;

void label(cairo_t* to, double x, double y, const std::string& text)
{
    cairo_move_to(to, x, y);
    cairo_show_text(to, text.c_str());
}

void drawAxes(cairo_t* to, const Scale& scale, const SLightPoint& first, const std::string& title)
{
    constexpr int sTicks = 5;
    cairo_set_source_rgb(to, 0.2, 0.2, 0.2);
    cairo_set_line_width(to, 1);
    cairo_rectangle(to, sLeft, sTop, sPlotWidth, sPlotHeight);
    cairo_stroke(to);
    cairo_set_font_size(to, 14);
    for (int i = 0; i <= sTicks; ++i) {
        const double part = static_cast<double>(i) / sTicks;
        const double flux = scale.low() + part * (scale.high() - scale.low());
        label(to, 8, sTop + scale.y(flux) + 5, formatFixed(flux, 0));
        label(to, sLeft + part * sPlotWidth - 20, sPngHeight - sBottom + 20, formatFixed(part * scale.duration(), 3));
    }
    label(to, sLeft, sPngHeight - 12, "seconds since " + isoTime(first.midNs, 6) + " UTC (mid-exposure)");
    cairo_set_font_size(to, 16);
    label(to, sLeft, 30, title);
}

void drawPoints(cairo_t* to, const std::vector<SLightPoint>& points, const Scale& scale)
{
    cairo_new_path(to); // a text leaves a point behind that a line would start from
    cairo_set_source_rgba(to, 0.1, 0.3, 0.7, 0.4);
    for (const SLightPoint& point : points)
        cairo_line_to(to, sLeft + scale.x(point), sTop + scale.y(point.flux));
    cairo_stroke(to);
    for (const SLightPoint& point : points) {
        cairo_set_source_rgb(to, point.isSaturated ? 0.8 : 0.1, 0.1, point.isSaturated ? 0.1 : 0.5);
        cairo_arc(to, sLeft + scale.x(point), sTop + scale.y(point.flux), 2, 0, 6.2832);
        cairo_fill(to);
    }
}

cairo_status_t keepBytes(void* file, const unsigned char* bytes, unsigned length)
{
    static_cast<NewFile*>(file)->write(bytes, length);
    return CAIRO_STATUS_SUCCESS;
}

} // namespace

std::string lightCurveText(const std::vector<SLightPoint>& points)
{
    constexpr size_t sColumns = 72, sRows = 20, sMargin = 12;
    if (points.empty())
        return "no frames\n";
    const Scale scale(points, sColumns - 1, sRows - 1);
    std::array<std::string, sRows> rows;
    rows.fill(std::string(sColumns, ' '));
    rows[static_cast<size_t>(std::lround(scale.y(0)))].assign(sColumns, '.');
    for (const SLightPoint& point : points)
        rows[static_cast<size_t>(std::lround(scale.y(point.flux)))][static_cast<size_t>(std::lround(scale.x(point)))] =
            '*';
    std::string text;
    for (size_t row = 0; row < sRows; ++row) {
        const double flux = scale.high() - (scale.high() - scale.low()) * static_cast<double>(row) / (sRows - 1);
        text += (row % 5 == 0 || row + 1 == sRows ? formatFixed(flux, 0, sMargin) : std::string(sMargin, ' ')) + " |" +
                rows[row] + "\n";
    }
    const std::string end = formatFixed(scale.duration(), 3) + " s";
    text += std::string(sMargin, ' ') + " +" + std::string(sColumns, '-') + "\n" + std::string(sMargin + 2, ' ') + "0" +
            std::string(sColumns - 1 - std::min(sColumns - 1, end.size()), ' ') + end + "\n";
    return text + "flux over seconds since " + isoTime(points.front().midNs, 6) + " UTC (mid-exposure), " +
           std::to_string(points.size()) + " frames\n";
}

std::string lightCurvePng(const std::vector<SLightPoint>& points, const std::string& title, const std::string& path)
{
    if (points.empty())
        return "there are no frames to draw";
    std::string error;
    const std::unique_ptr<NewFile> file = NewFile::create(path, error);
    if (!file)
        return error;
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, sPngWidth, sPngHeight), cairo_surface_destroy);
    const Context to(cairo_create(surface.get()), cairo_destroy);
    cairo_set_source_rgb(to.get(), 1, 1, 1);
    cairo_paint(to.get());
    const Scale scale(points, sPlotWidth, sPlotHeight);
    drawAxes(to.get(), scale, points.front(), title);
    drawPoints(to.get(), points, scale);
    if (cairo_surface_write_to_png_stream(surface.get(), keepBytes, file.get()) != CAIRO_STATUS_SUCCESS)
        return "the drawing library failed";
    return file->commit(error, false) ? "" : error;
}

} // namespace obriadv
