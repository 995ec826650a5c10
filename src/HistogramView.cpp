#include "HistogramView.h"

#include <algorithm>
#include <cmath>
#include <gdk/gdkkeysyms.h>
#include <gdkmm/cursor.h>
#include <gtkmm/stylecontext.h>
#include <pangomm/layout.h>

using libobribase::HistogramDragger;
using libobribase::Rect;
using libobribase::SHistogramBins;

std::vector<SHistoPoint> m_histoPoints;
int m_nofHistoPoints = 0;

namespace {

struct SColour {
    double red, green, blue;
};

// Seen on a light background as well as on a dark one.
constexpr SColour sBars{0.35, 0.58, 0.85}, sTransfer{0.93, 0.55, 0.10};
constexpr double sWhite = 255;       // highest output of the stretch
constexpr double sFullScale = 65535; // highest value of a handle
constexpr int sTransferSteps = 64;   // runs of pixel values that the transfer curve gives the end of

void use(const Cairo::RefPtr<Cairo::Context>& cr, const SColour& colour)
{
    cr->set_source_rgb(colour.red, colour.green, colour.blue);
}

uint64_t fullestBin(const SHistogramBins& counts, int first, int last)
{
    const auto begin = counts.bins.begin();
    return *std::max_element(begin + first, begin + std::max(last, first + 1));
}

} // namespace

void computeHistoPoints(const SHistogramBins& counts, const Rect& plot, std::vector<SHistoPoint>& points)
{
    points.clear();
    if (plot.w < 1 || plot.h < 1)
        return;
    const double scale = counts.maxValue ? 1 / std::log1p(static_cast<double>(counts.maxValue)) : 1;
    for (int column = 0; column < plot.w; ++column) {
        const int first = column * SHistogramBins::sCount / plot.w,
                  last = (column + 1) * SHistogramBins::sCount / plot.w;
        const auto count = static_cast<double>(fullestBin(counts, first, last));
        const double height = std::min(std::log1p(count) * scale, 1.0);
        points.push_back({plot.x + column + 0.5, plot.Y2() - height * plot.h});
    }
}

HistogramView::HistogramView(Gtk::DrawingArea* area, libobribase::Histogram* histogram)
    : m_area(area), m_histogram(histogram)
{
    m_area->add_events(Gdk::POINTER_MOTION_MASK | Gdk::LEAVE_NOTIFY_MASK);
    m_area->signal_motion_notify_event().connect(sigc::mem_fun(*this, &HistogramView::onPointerMoved));
    m_area->signal_key_press_event().connect(sigc::mem_fun(*this, &HistogramView::onKeyPressed), false);
}

void HistogramView::draw(const Cairo::RefPtr<Cairo::Context>& cr, bool recompute)
{
    fitToArea();
    if (recompute || m_histoPoints.empty()) {
        m_counts = m_histogram->CopyHistoBins();
        computeHistoPoints(m_counts, m_histogram->GetPlotRect(), m_histoPoints);
        m_nofHistoPoints = static_cast<int>(m_histoPoints.size());
    }
    const Rect& plot = m_histogram->GetPlotRect();
    if (plot.w < 1 || plot.h < 1)
        return;
    drawCurve(cr);
    drawTransferCurve(cr);
    drawHandles(cr);
    drawTitle(cr);
    if (m_area->has_visible_focus())
        m_area->get_style_context()->render_focus(cr, 0, 0, m_width, m_height);
}

/// Tells the model the area's size, which moves the plot and its handles.
void HistogramView::fitToArea()
{
    const int width = m_area->get_width(), height = m_area->get_height();
    if (width == m_width && height == m_height)
        return;
    m_width = width;
    m_height = height;
    m_histogram->SetContainerSize(width, height);
    m_histoPoints.clear();
}

void HistogramView::useForeground(const Cairo::RefPtr<Cairo::Context>& cr, double alpha)
{
    const auto style = m_area->get_style_context();
    const Gdk::RGBA colour = style->get_color(style->get_state());
    cr->set_source_rgba(colour.get_red(), colour.get_green(), colour.get_blue(), alpha);
}

void HistogramView::drawCurve(const Cairo::RefPtr<Cairo::Context>& cr)
{
    const Rect& plot = m_histogram->GetPlotRect();
    useForeground(cr, 0.06);
    cr->rectangle(plot.x, plot.y, plot.w, plot.h);
    cr->fill();
    use(cr, sBars);
    for (const SHistoPoint& point : m_histoPoints)
        cr->rectangle(point.x - 0.5, point.y, 1, plot.Y2() - point.y);
    cr->fill();
    useForeground(cr, 0.35);
    cr->set_line_width(1);
    cr->rectangle(plot.x - 0.5, plot.y - 0.5, plot.w + 1, plot.h + 1);
    cr->stroke();
}

void HistogramView::drawTransferCurve(const Cairo::RefPtr<Cairo::Context>& cr)
{
    const Rect& plot = m_histogram->GetPlotRect();
    for (int i = 0; i <= sTransferSteps; ++i) {
        const double x = plot.x + static_cast<double>(plot.w) * i / sTransferSteps;
        const double y = plot.Y2() - plot.h * m_histogram->GetHistoTransferCurve(i) / sWhite;
        i == 0 ? cr->move_to(x, y) : cr->line_to(x, y);
    }
    use(cr, sTransfer);
    cr->set_line_width(2);
    cr->set_line_join(Cairo::LINE_JOIN_ROUND);
    cr->stroke();
}

void HistogramView::drawHandles(const Cairo::RefPtr<Cairo::Context>& cr)
{
    drawBound(cr, m_histogram->GetLowDragger());
    drawBound(cr, m_histogram->GetHighDragger());
    drawHandle(cr, m_histogram->GetLowDragger());
    drawHandle(cr, m_histogram->GetHighDragger());
    drawHandle(cr, m_histogram->GetMidDragger());
}

/// The dashed line that carries a bound through the plot.
void HistogramView::drawBound(const Cairo::RefPtr<Cairo::Context>& cr, const HistogramDragger& dragger)
{
    const Rect& plot = m_histogram->GetPlotRect();
    cr->move_to(dragger.GetX() + 0.5, plot.y);
    cr->line_to(dragger.GetX() + 0.5, plot.Y2());
    useForeground(cr, 0.6);
    cr->set_line_width(1);
    cr->set_dash(std::vector<double>{4, 3}, 0);
    cr->stroke();
    cr->unset_dash();
}

/// A raised box with a grip, as sliders have it, filled while it is dragged.
void HistogramView::drawHandle(const Cairo::RefPtr<Cairo::Context>& cr, const HistogramDragger& dragger)
{
    const Rect box = dragger.GetRect();
    use(cr, sTransfer);
    cr->rectangle(box.x, box.y, box.w, box.h);
    cr->fill();
    cr->set_line_width(1);
    cr->set_source_rgba(0, 0, 0, dragger.dragging ? 0.9 : 0.55);
    cr->rectangle(box.x + 0.5, box.y + 0.5, box.w - 1, box.h - 1);
    cr->stroke();
    for (int line = 3; line < 9; line += 3) { // across the way that the handle moves
        if (dragger.horizontal) {
            cr->move_to(box.x + line + 0.5, box.y + 2);
            cr->line_to(box.x + line + 0.5, box.Y2() - 2);
        } else {
            cr->move_to(box.x + 2, box.y + line + 0.5);
            cr->line_to(box.X2() - 2, box.y + line + 0.5);
        }
    }
    cr->stroke();
}

void HistogramView::drawTitle(const Cairo::RefPtr<Cairo::Context>& cr)
{
    const Rect& plot = m_histogram->GetPlotRect();
    const auto layout = m_area->create_pango_layout(m_histogram->GetTitleString());
    int width = 0, height = 0;
    layout->get_pixel_size(width, height);
    useForeground(cr, 1);
    const int left = plot.x + (plot.w - width) / 2; // whole pixels keep letters sharp
    cr->move_to(left, plot.y + 2);
    layout->show_in_cairo_context(cr);
}

/// The cursor over a handle or over the plot's bounds; null elsewhere.
const char* HistogramView::cursorNameAt(int x, int y) const
{
    const HistogramDragger* draggers[] = {&m_histogram->GetMidDragger(), &m_histogram->GetLowDragger(),
                                          &m_histogram->GetHighDragger()};
    const auto under = [&](const HistogramDragger* dragger) { return dragger->HitTest(x, y); };
    const auto held = [](const HistogramDragger* dragger) { return dragger->dragging != 0; };
    const auto* found = std::find_if(std::begin(draggers), std::end(draggers), held);
    if (found == std::end(draggers)) // what is held keeps its cursor over the other handles
        found = std::find_if(std::begin(draggers), std::end(draggers), under);
    if (found != std::end(draggers))
        return (*found)->horizontal ? "ew-resize" : "ns-resize";
    return m_histogram->GetPlotRect().ContainsPoint(x, y) ? "crosshair" : nullptr;
}

bool HistogramView::onPointerMoved(GdkEventMotion* event)
{
    const char* name = cursorNameAt(static_cast<int>(event->x), static_cast<int>(event->y));
    const auto window = m_area->get_window();
    if (window && name != m_cursorName) { // the names are literals of one function
        m_cursorName = name;
        if (name)
            window->set_cursor(Gdk::Cursor::create(m_area->get_display(), name));
        else
            window->set_cursor();
    }
    return false;
}

bool HistogramView::onKeyPressed(GdkEventKey* event)
{
    const HistogramDragger& bound =
        event->state & GDK_SHIFT_MASK ? m_histogram->GetHighDragger() : m_histogram->GetLowDragger();
    switch (event->keyval) {
    case GDK_KEY_Left:
        nudge(bound, -1);
        return true;
    case GDK_KEY_Right:
        nudge(bound, 1);
        return true;
    case GDK_KEY_Up:
        nudge(m_histogram->GetMidDragger(), 1);
        return true;
    case GDK_KEY_Down:
        nudge(m_histogram->GetMidDragger(), -1);
        return true;
    default:
        return false;
    }
}

/// Drags a handle by some pixels of its own way, as the pointer would.
void HistogramView::nudge(const HistogramDragger& dragger, int pixels)
{
    const Rect &plot = m_histogram->GetPlotRect(), box = dragger.GetRect();
    if (plot.w < 1 || plot.h < 1)
        return;
    // Rounded: the model cuts off a fraction when it takes a position and another when it gives one.
    const double part = dragger.GetValue() / sFullScale;
    const int x = plot.x + static_cast<int>(std::lround(part * plot.w)) + pixels;
    const int y = plot.Y2() - static_cast<int>(std::lround(part * plot.h)) - pixels;
    m_histogram->OnMouseClick(box.x + box.w / 2, box.y + box.h / 2, 0);
    if (dragger.dragging)
        m_histogram->OnContinueDrag(x, y);
    m_histogram->OnReleaseDrag();
    if (dragger.horizontal && m_histogram->GetMidDragger().HitTest(box.x + box.w / 2, box.y + box.h / 2))
        m_histogram->OnMouseClick(x, plot.y + 1, 0); // the low bound's handle lies under that of the mid tones
    m_area->queue_draw();
}
