#include "FrameProcessor.h"
#include "HistogramView.h"
#include "SharedFlag.h"
#include "WindowTest.h"

#include <algorithm>
#include <cmath>
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
    const Rect plot(12, 2, 12 + 512, 2 + 100);
    std::vector<SHistoPoint> points;
    computeHistoPoints(night, plot, points);
    ASSERT_EQ(points.size(), 512u);
    const auto heightAt = [&](size_t bin) { return plot.Y2() - points[bin / 2].y; };
    EXPECT_DOUBLE_EQ(heightAt(100), 100);
    EXPECT_NEAR(heightAt(600), 50, 1) << "a thousandth of the peak is half as high";
    EXPECT_GT(heightAt(900), 3) << "a single pixel is seen";
    EXPECT_DOUBLE_EQ(heightAt(300), 0);
    EXPECT_DOUBLE_EQ(heightAt(0), 100) << "beyond the maximum: cut at the top";
}

TEST(HistogramCurve, KeepsEveryBinAtAnyWidth)
{
    std::vector<SHistoPoint> points;
    for (const int width : {1, 7, 333, 1023, 1024, 2000})
        for (const size_t bin : {0, 1, 511, 1022, 1023}) {
            SHistogramBins counts;
            counts.bins[bin] = counts.maxValue = 1;
            computeHistoPoints(counts, Rect(0, 0, width, 50), points);
            ASSERT_EQ(points.size(), static_cast<size_t>(width));
            EXPECT_TRUE(std::any_of(points.begin(), points.end(), [](const SHistoPoint& p) { return p.y == 0; }))
                << "bin " << bin << " of a plot " << width << " wide";
        }
}

class HistogramControl : public WindowTest {
protected:
    Gtk::DrawingArea& area() { return find<Gtk::DrawingArea>("ctlHistogram"); }
    static double middleX(const Rect& box) { return box.x + box.w / 2.0; }
    static double middleY(const Rect& box) { return box.y + box.h / 2.0; }
    void type(guint key, int times, GdkModifierType modifiers = GdkModifierType(0))
    {
        for (int i = 0; i < times; ++i)
            typeKey(area(), key, modifiers);
    }
    void fillBins(const SHistogramBins& counts)
    {
        auto* buffer = m_histogram->GetHistoBuffer();
        std::copy(counts.bins.begin(), counts.bins.end(), reinterpret_cast<uint64_t*>(buffer->GetWriteBuffer()));
        buffer->CommitWrite();
        ASSERT_EQ(m_histogram->UpdateHistoBins(), 1);
    }
};

TEST_F(HistogramControl, HandlesAreDraggedByThePointerAndComeToAClick)
{
    const Rect plot = m_histogram->GetPlotRect();
    ASSERT_EQ(plot.w, area().get_width() - 24);
    const Rect low = m_histogram->GetLowDragger().GetRect();
    press(area(), middleX(low), middleY(low));
    move(area(), plot.x + plot.w / 2.0, middleY(low));
    EXPECT_NEAR(m_histogram->GetLowDragger().GetValue(), 32767, 65535.0 / plot.w);
    move(area(), plot.x + plot.w / 4.0, middleY(low));
    release(area(), plot.x + plot.w / 4.0, middleY(low));
    EXPECT_NEAR(m_histogram->GetLowDragger().GetValue(), 16384, 65535.0 / plot.w);

    const Rect mid = m_histogram->GetMidDragger().GetRect();
    press(area(), middleX(mid), middleY(mid));
    move(area(), middleX(mid), plot.y);
    release(area(), middleX(mid), plot.y);
    EXPECT_EQ(m_histogram->GetMidDragger().GetValue(), 65535);

    for (const guint button : {1u, 3u}) {
        press(area(), plot.x + plot.w / (button == 1 ? 8.0 : 2.0), plot.y + plot.h / 2.0, button);
        release(area(), 0, 0, button);
    }
    EXPECT_NEAR(m_histogram->GetLowDragger().GetValue(), 8192, 65535.0 / plot.w);
    EXPECT_NEAR(m_histogram->GetHighDragger().GetValue(), 32767, 65535.0 / plot.w);
}

TEST_F(HistogramControl, PresetsKeepTheirShareOfThePixels)
{
    SHistogramBins counts;
    for (size_t bin = 1; bin <= 1000; ++bin)
        counts.bins[bin] = 1000;
    fillBins(counts);
    // Half of what is left out goes to each side; a bin's bound is its number * 65535 / 1023.
    const std::pair<const char*, std::pair<int, int>> cases[] = {
        {"btnHisto95", {25, 975}}, {"btnHisto99", {5, 995}}, {"btnHisto999", {0, 999}}, {"btnHisto100", {0, 1023}}};
    for (const auto& [id, bins] : cases) {
        find<Gtk::Button>(id).clicked();
        EXPECT_EQ(m_histogram->GetTitleString(),
                  std::to_string(bins.first * 65535 / 1023) + " - " + std::to_string(bins.second * 65535 / 1023))
            << id;
    }
}

TEST_F(HistogramControl, HandlesFollowTheArrowKeys)
{
    const Rect plot = m_histogram->GetPlotRect();
    const auto atPixel = [](int pixel, int length) { return pixel * 65535 / length; };
    const auto &low = m_histogram->GetLowDragger(), &high = m_histogram->GetHighDragger(),
               &mid = m_histogram->GetMidDragger();
    type(GDK_KEY_Right, 30);
    type(GDK_KEY_Left, 10);
    EXPECT_EQ(low.GetValue(), atPixel(20, plot.w));
    type(GDK_KEY_Left, 7, GDK_SHIFT_MASK);
    type(GDK_KEY_Right, 2, GDK_SHIFT_MASK);
    EXPECT_EQ(high.GetValue(), atPixel(plot.w - 5, plot.w));
    type(GDK_KEY_Up, 2 * plot.h);
    EXPECT_EQ(mid.GetValue(), 65535);
    type(GDK_KEY_Left, 50);
    EXPECT_EQ(low.GetValue(), 0) << "where it stops";
}

TEST_F(HistogramControl, ANewHistogramReachesTheScreen)
{
    SHistogramBins counts;
    std::fill_n(&counts.bins[95], 11, 1'000'000);
    fillBins(counts);
    const Rect plot = m_histogram->GetPlotRect();
    const int x = plot.x + 100 * plot.w / SHistogramBins::sCount, y = plot.Y2() - 20;
    const auto pixel = [&] {
        const int width = area().get_width();
        return look(area(), width, area().get_height())[static_cast<size_t>(y) * width + x];
    };
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
