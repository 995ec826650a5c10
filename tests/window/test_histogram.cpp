#include "FrameProcessor.h"
#include "HistogramView.h"
#include "SharedFlag.h"
#include "WindowTest.h"

#include <algorithm>
#include <gdk/gdkkeysyms.h>
#include <thread>

using libobribase::Rect;
using libobribase::SHistogramBins;

namespace {

TEST(HistogramCurve, ShowsStarsBesideTheSky)
{
    SHistogramBins night;
    night.bins[0] = 5'000'000; // counts in neither maximum nor total
    night.bins[100] = night.maxValue = 1'000'000;
    night.bins[600] = 1000;
    night.bins[900] = 1;
    std::vector<SHistoPoint> points;
    computeHistoPoints(night, Rect(12, 2, 12 + 512, 2 + 100), points);
    const auto heightAt = [&](size_t bin) { return 102 - points.at(bin / 2).y; };
    EXPECT_EQ(heightAt(100), 100);
    EXPECT_NEAR(heightAt(600), 50, 1) << "a thousandth of the peak is half as high";
    EXPECT_GT(heightAt(900), 3) << "a single pixel is seen";
    EXPECT_EQ(heightAt(300), 0);
    EXPECT_EQ(heightAt(0), 100) << "beyond the maximum: cut at the top";
}

TEST(HistogramCurve, KeepsEveryBinAtAnyWidth)
{
    std::vector<SHistoPoint> points;
    for (const int width : {1, 7, 333, 1023, 1024, 2000})
        for (const size_t bin : {0, 1, 511, 1022, 1023}) {
            SHistogramBins counts;
            counts.bins[bin] = counts.maxValue = 1;
            computeHistoPoints(counts, Rect(0, 0, width, 50), points);
            EXPECT_THAT(points, testing::SizeIs(width));
            EXPECT_THAT(points, testing::Contains(testing::Field(&SHistoPoint::y, 0))) << bin << " of " << width;
        }
}

class HistogramControl : public WindowTest {
protected:
    using Points = std::vector<std::pair<double, double>>;

    /// Presses the button at the first point, goes through all of them and releases it at the last.
    void drag(const Points& way, guint button = 1)
    {
        send(GDK_BUTTON_PRESS, [&](GdkEvent& event) {
            std::tie(event.button.x, event.button.y) = way.front();
            event.button.button = button;
        });
        for (const auto& point : way)
            send(GDK_MOTION_NOTIFY, [&](GdkEvent& event) {
                std::tie(event.motion.x, event.motion.y) = point;
                event.motion.state = GDK_BUTTON1_MASK;
            });
        send(GDK_BUTTON_RELEASE, [&](GdkEvent& event) { event.button.button = button; });
    }
    void type(guint key, int times, guint modifiers = 0)
    {
        for (int i = 0; i < times; ++i)
            send(GDK_KEY_PRESS, [&](GdkEvent& event) {
                event.key.keyval = key;
                event.key.state = modifiers;
            });
    }
    void fillBins(size_t first, size_t count, uint64_t value)
    {
        auto* bins = reinterpret_cast<uint64_t*>(m_histogram->GetHistoBuffer()->GetWriteBuffer());
        std::fill_n(bins, SHistogramBins::sCount, 0);
        std::fill_n(bins + first, count, value);
        m_histogram->GetHistoBuffer()->CommitWrite();
        ASSERT_EQ(m_histogram->UpdateHistoBins(), 1);
    }

    Gtk::DrawingArea& area = find<Gtk::DrawingArea>("ctlHistogram");
    const Rect plot = m_histogram->GetPlotRect();
    const libobribase::HistogramDragger &low = m_histogram->GetLowDragger(), &high = m_histogram->GetHighDragger(),
                                        &mid = m_histogram->GetMidDragger();

private:
    template <class Fill>
    void send(GdkEventType type, Fill fill)
    {
        GdkEvent* event = gdk_event_new(type);
        event->any.window = GDK_WINDOW(g_object_ref(area.get_window()->gobj()));
        fill(*event);
        gdk_event_set_device(event, gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default())));
        if (type == GDK_KEY_PRESS)
            gtk_widget_event(GTK_WIDGET(area.gobj()), event);
        else
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
    fillBins(1, 1000, 1000);
    // Half of what is left out goes to each side; a bin's bound is its number * 65535 / 1023.
    const std::tuple<const char*, int, int> cases[] = {
        {"btnHisto95", 25, 975}, {"btnHisto99", 5, 995}, {"btnHisto999", 0, 999}, {"btnHisto100", 0, 1023}};
    for (const auto& [id, lowBin, highBin] : cases) {
        find<Gtk::Button>(id).clicked();
        EXPECT_EQ(std::pair(low.GetValue(), high.GetValue()), std::pair(lowBin * 65535 / 1023, highBin * 65535 / 1023))
            << id;
    }
}

TEST_F(HistogramControl, HandlesFollowTheArrowKeys)
{
    type(GDK_KEY_Right, 30);
    type(GDK_KEY_Left, 10);
    EXPECT_EQ(low.GetValue(), 20 * 65535 / plot.w);
    type(GDK_KEY_Left, 7, GDK_SHIFT_MASK);
    type(GDK_KEY_Right, 2, GDK_SHIFT_MASK);
    EXPECT_EQ(high.GetValue(), (plot.w - 5) * 65535 / plot.w);
    type(GDK_KEY_Up, 2 * plot.h);
    EXPECT_EQ(mid.GetValue(), 65535);
    type(GDK_KEY_Left, 50);
    EXPECT_EQ(low.GetValue(), 0) << "where it stops";
}

TEST_F(HistogramControl, ANewHistogramReachesTheScreen)
{
    fillBins(95, 11, 1'000'000);
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
