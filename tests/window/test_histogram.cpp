#include "FrameProcessor.h"
#include "HistogramView.h"
#include "SharedFlag.h"
#include "WindowTest.h"

#include <algorithm>
#include <thread>

using libobribase::Rect;
using libobribase::SHistogramBins;

namespace {

TEST(HistogramCurve, ShowsASinglePixelBesideTheSkyAtAnyWidth)
{
    std::vector<SHistoPoint> points;
    for (const int width : {1, 7, 333, 1023, 1024, 2000})
        for (const size_t bin : {0, 1, 511, 1022, 1023}) {
            SHistogramBins night;
            night.maxValue = 1'000'000;
            night.bins[bin] = 1;
            computeHistoPoints(night, Rect(0, 0, width, 50), points);
            EXPECT_THAT(points, testing::SizeIs(width));
            EXPECT_THAT(points, testing::Contains(testing::Field(&SHistoPoint::y, testing::Lt(49)))) << bin;
        }
}

class HistogramControl : public WindowTest {
protected:
    /// Presses the button at the first point, goes through all of them and releases it at the last.
    void drag(const std::vector<std::pair<double, double>>& way, guint button = 1)
    {
        send(GDK_BUTTON_PRESS, way.front(), button);
        for (const auto& point : way)
            send(GDK_MOTION_NOTIFY, point, button);
        send(GDK_BUTTON_RELEASE, way.back(), button);
    }

    Gtk::DrawingArea& area = find<Gtk::DrawingArea>("ctlHistogram");
    const Rect plot = m_histogram->GetPlotRect();
    const libobribase::HistogramDragger &low = m_histogram->GetLowDragger(), &high = m_histogram->GetHighDragger(),
                                        &mid = m_histogram->GetMidDragger();

private:
    void send(GdkEventType type, std::pair<double, double> at, guint button)
    {
        GdkEvent* event = gdk_event_new(type);
        event->any.window = GDK_WINDOW(g_object_ref(area.get_window()->gobj()));
        std::tie(event->button.x, event->button.y) = at; // a motion has its own in the same place
        event->button.state = GDK_BUTTON1_MASK;
        if (type != GDK_MOTION_NOTIFY)
            event->button.button = button;
        gdk_event_set_device(event, gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default())));
        gtk_main_do_event(event);
        gdk_event_free(event);
    }
};

TEST_F(HistogramControl, HandlesAreDraggedByThePointerAndComeToAClick)
{
    ASSERT_EQ(plot.w, area.get_width() - 24);
    const auto middle = [](const Rect& box) { return std::pair(box.x + box.w / 2.0, box.y + box.h / 2.0); };
    const auto across = [&](double part) { return plot.x + plot.w * part; };
    const double y = plot.y + plot.h / 2.0, step = 65535.0 / plot.w;
    drag({middle(low.GetRect()), {across(0.5), y}, {across(0.25), y}});
    EXPECT_NEAR(low.GetValue(), 16384, step);
    drag({middle(mid.GetRect()), {middle(mid.GetRect()).first, plot.y}});
    EXPECT_EQ(mid.GetValue(), 65535);
    drag({{across(0.125), y}});
    drag({{across(0.5), y}}, 3);
    EXPECT_NEAR(low.GetValue(), 8192, step);
    EXPECT_NEAR(high.GetValue(), 32767, step);
}

TEST_F(HistogramControl, PresetsKeepTheirShareOfThePixels)
{
    auto* buffer = m_histogram->GetHistoBuffer();
    std::fill_n(reinterpret_cast<uint64_t*>(buffer->GetWriteBuffer()) + 1, 1000, 1000);
    buffer->CommitWrite();
    ASSERT_EQ(m_histogram->UpdateHistoBins(), 1);
    // Half of what is left out goes to each side; a bin's bound is its number * 65535 / 1023.
    for (const auto& [id, first] : {std::pair{"btnHisto95", 25}, {"btnHisto99", 5}, {"btnHisto999", 0}}) {
        find<Gtk::Button>(id).clicked();
        EXPECT_EQ(low.GetValue(), first * 65535 / 1023) << id;
        EXPECT_EQ(high.GetValue(), (first == 0 ? 999 : 1000 - first) * 65535 / 1023) << id;
    }
}

TEST_F(HistogramControl, ANewHistogramReachesTheScreen)
{
    auto* buffer = m_histogram->GetHistoBuffer();
    std::fill_n(reinterpret_cast<uint64_t*>(buffer->GetWriteBuffer()) + 95, 11, 1'000'000);
    buffer->CommitWrite();
    ASSERT_EQ(m_histogram->UpdateHistoBins(), 1);
    const int x = plot.x + 100 * plot.w / SHistogramBins::sCount, y = plot.Y2() - 20;
    const auto pixel = [&] { return look(area, x + 1, y + 1).back(); };
    const uint32_t before = pixel();
    // As the streaming thread does it, faster than anything can be drawn.
    libobribase::storeShared(m_updateHistogram, 1);
    std::thread streaming([&] {
        for (int frame = 0; frame < 10'000; ++frame)
            window->invalidateHistogram();
    });
    streaming.join();
    EXPECT_TRUE(waitUntil([&] { return pixel() != before; }));
}

} // namespace
