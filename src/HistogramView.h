#pragma once

#include "Histogram.h"

#include <cairomm/context.h>
#include <gtkmm/drawingarea.h>
#include <sigc++/trackable.h>
#include <vector>

/// A point of the histogram's curve, in pixels of the drawing area.
struct SHistoPoint {
    double x, y;
};

/// The polyline of the histogram's curve, one point a pixel column, and how many it has. Main thread.
extern std::vector<SHistoPoint> m_histoPoints;
extern int m_nofHistoPoints;

/// Computes the curve over a plot: each column shows the fullest of the bins that fall on it.
///
/// Heights are logarithmic, since the sky fills a few bins with most of the pixels and the stars, a
/// thousand times fewer, fill the rest. Bins beyond maxValue (the two outermost may be) reach the top.
void computeHistoPoints(const libobribase::SHistogramBins& counts, const libobribase::Rect& plot,
                        std::vector<SHistoPoint>& points);

/// Draws the histogram model into its area, gives the handles a cursor that says they can be dragged, and moves them by
/// the arrow keys: the low bound, with Shift the high bound, up and down the mid tones. Main thread.
class HistogramView : public sigc::trackable {
public:
    /// Both are borrowed and outlive the view.
    HistogramView(Gtk::DrawingArea* area, libobribase::Histogram* histogram);

    /// Draws everything; computes the curve anew when recompute is set or the area's size changed.
    void draw(const Cairo::RefPtr<Cairo::Context>& cr, bool recompute);

private:
    void fitToArea();
    void drawCurve(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawTransferCurve(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawHandles(const Cairo::RefPtr<Cairo::Context>& cr);
    void drawBound(const Cairo::RefPtr<Cairo::Context>& cr, const libobribase::HistogramDragger& dragger);
    void drawHandle(const Cairo::RefPtr<Cairo::Context>& cr, const libobribase::HistogramDragger& dragger);
    void drawTitle(const Cairo::RefPtr<Cairo::Context>& cr);
    void useForeground(const Cairo::RefPtr<Cairo::Context>& cr, double alpha);
    bool onPointerMoved(GdkEventMotion* event);
    bool onKeyPressed(GdkEventKey* event);
    void nudge(const libobribase::HistogramDragger& dragger, int pixels);
    const char* cursorNameAt(int x, int y) const;

    Gtk::DrawingArea* m_area;
    libobribase::Histogram* m_histogram;
    libobribase::SHistogramBins m_counts; // the copy that is drawn
    int m_width = 0, m_height = 0;
    const char* m_cursorName = nullptr; // the one in force, null for the usual one
};
