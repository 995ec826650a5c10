#include "Histogram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

using namespace libobribase;

namespace {

// The stretch as it is defined, one value at a time.
int stretched(int v, int lo, int hi, int mid)
{
    if (v <= lo || v >= hi)
        return v <= lo ? 0 : 255;
    const double g = 0.25 + mid / 65535.0 * 0.5, t = static_cast<double>(v - lo) / (hi - lo);
    return static_cast<int>(255 * std::clamp((4 * g - 1) * t + (2 - 4 * g) * t * t, 0.0, 1.0));
}

class HistogramModel : public testing::Test {
protected:
    HistogramModel() { histogram.SetContainerSize(424, 114); } // plot: 400 x 100 at (12, 2)

    void commit(std::vector<std::pair<int, uint64_t>> counts)
    {
        auto* bins = reinterpret_cast<uint64_t*>(histogram.GetHistoBuffer()->GetWriteBuffer());
        std::fill_n(bins, 1024, 0);
        for (const auto& [bin, count] : counts)
            bins[bin] = count;
        histogram.GetHistoBuffer()->CommitWrite();
        EXPECT_EQ(histogram.UpdateHistoBins(), 1);
    }
    // Leaves the handle held.
    void drag(const HistogramDragger& dragger, int x, int y)
    {
        const Rect box = dragger.GetRect();
        EXPECT_EQ(histogram.OnMouseClick(box.x + 1, box.y + 1, 0), 1);
        EXPECT_EQ(histogram.OnContinueDrag(x, y), 1);
    }

    Histogram histogram;
    const HistogramDragger &low = histogram.GetLowDragger(), &high = histogram.GetHighDragger(),
                           &mid = histogram.GetMidDragger();
};

} // namespace

TEST_F(HistogramModel, StretchIsTheDefinitionForEveryPixelValue)
{
    for (const HistogramDragger* dragger : std::initializer_list<const HistogramDragger*>{&mid, &low, &high, nullptr}) {
        const uint32_t* table = histogram.GetTransform();
        for (int v = 0; v < 65536; ++v)
            ASSERT_EQ(table[v], static_cast<uint32_t>(stretched(v, low.value, high.value, mid.value)) * 0x010101) << v;
        for (int i = 0; i <= 64; ++i)
            ASSERT_EQ(histogram.GetHistoTransferCurve(i), i == 0 ? 0 : table[i * 1024 - 1] & 0xFF);
        if (dragger)
            drag(*dragger, dragger == &high ? 0 : 150, 20); // at last the high bound onto the low one: no ramp
        histogram.OnReleaseDrag();
    }
    EXPECT_EQ(low.value, high.value);
}

TEST_F(HistogramModel, HandlesAndPlotLieWhereTheyAreDefined)
{
    for (const auto& [x, y] : {std::pair{11, 50}, {400, 50}, {100, 1}, {100, 94}})
        EXPECT_EQ(histogram.OnMouseClick(x, y, 0), 0);
    EXPECT_EQ(histogram.GetTitleString(), "0 - 65535"); // all beside the field for clicks
    histogram.OnMouseClick(399, 93, 1);
    histogram.OnMouseClick(112, 2, 0);
    EXPECT_EQ(histogram.GetTitleString(), "16383 - 63405"); // 100 and 387 of 400 pixels
    const Rect a = low.GetRect(), b = high.GetRect(), c = mid.GetRect();
    EXPECT_THAT((std::vector{a.x, a.y, b.x, b.y, c.x, c.y}), testing::ElementsAre(101, 102, 398, 102, 2, 53));
    EXPECT_EQ(histogram.OnContinueDrag(300, 50), 0); // nothing is held

    drag(mid, 50, 102);
    histogram.OnReleaseDrag();
    histogram.OnMouseClick(12, 50, 0);
    drag(low, 200, 52); // on the middle one, which is taken
    EXPECT_EQ(histogram.GetTitleString(), "0 - 63405");
    EXPECT_EQ(mid.value, 32767);
}

TEST_F(HistogramModel, AutomaticBoundsKeepThePercentageInside)
{
    drag(mid, 0, 20);
    commit({{0, 50}, {5, 3}, {1023, 70}}); // the outermost bins are left out of maximum and total
    EXPECT_EQ(histogram.GetHistoBinsMaxValue(), 3u);
    EXPECT_EQ(histogram.CopyHistoBins().total, 3u);
    histogram.SetHistoBounds(99);
    EXPECT_EQ(histogram.GetTitleString(), "0 - 1024");
    EXPECT_EQ(mid.value, 32767);
    for (const char* bounds : {"64511 - 65535", "0 - 1024"}) {
        histogram.SetInvertedMode(1);
        EXPECT_EQ(histogram.GetTitleString(), bounds);
    }
    histogram.GetHistoBuffer()->CommitWrite();
    histogram.ClearHistoBuffer(); // also of what waits
    EXPECT_EQ(histogram.UpdateHistoBins(), 0);
    EXPECT_EQ(histogram.GetHistoBin(1023), 0u);
}

// A handle that was once stopped by the other one must not stay held there: presets move both.
TEST_F(HistogramModel, PresetsAndInversionReachWhatADragCouldNot)
{
    histogram.OnMouseClick(200, 50, 1);
    drag(low, INT32_MAX, 50);
    EXPECT_EQ(low.value, high.value);
    histogram.SetInvertedMode(1);
    EXPECT_EQ(low.value, high.value);
    EXPECT_EQ(low.value, 65535 - 188 * 65535 / 400);

    // Two pixels beyond either bound: up to bin 49 there are 2, up to 59 there are 98.
    commit({{10, 2}, {50, 96}, {60, 2}});
    histogram.SetHistoBounds(95); // far below the low bound that is held, by keyboard
    EXPECT_EQ(low.value, 49 * 65535 / 1023);
    EXPECT_EQ(high.value, 59 * 65535 / 1023);
    histogram.OnContinueDrag(250, 50);
    EXPECT_EQ(low.value, high.value);
    histogram.SetContainerSize(10, 10); // no room: nothing divides by zero
    histogram.OnContinueDrag(5, 5);
}

// The streaming thread must never see a table of which a part belongs to another setting.
TEST_F(HistogramModel, AFrameSeesOneTableWhileHandlesMove)
{
    const std::jthread streaming([&](std::stop_token stop) {
        while (!stop.stop_requested()) {
            const uint32_t* table = histogram.GetTransform();
            ASSERT_TRUE(std::is_sorted(table, table + 65536)); // two tables mixed break the order sooner or later
            commit({{5, 9}});
        }
    });
    for (int i = 0; i < 300; ++i) {
        histogram.OnMouseClick(12 + i, 50, i % 2);
        histogram.SetHistoBounds(99);
        EXPECT_LE(histogram.CopyHistoBins().total, 9u);
    }
}
