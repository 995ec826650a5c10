#include "Histogram.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace libobribase;

namespace {

// The stretch as it is defined, one value at a time.
int stretched(int v, int lo, int hi, int mid)
{
    if (v <= lo)
        return 0;
    if (v >= hi)
        return 255;
    const double g = 0.25 + mid / 65535.0 * 0.5, t = static_cast<double>(v - lo) / (hi - lo);
    const double y = (4 * g - 1) * t + (2 - 4 * g) * t * t;
    return static_cast<int>(255 * (y < 0 ? 0 : y > 1 ? 1 : y));
}

class HistogramModel : public testing::Test {
protected:
    void commit(std::vector<std::pair<int, uint64_t>> counts)
    {
        auto* bins = reinterpret_cast<uint64_t*>(histogram.GetHistoBuffer()->GetWriteBuffer());
        std::fill_n(bins, 1024, 0);
        for (const auto& [bin, count] : counts)
            bins[bin] = count;
        histogram.GetHistoBuffer()->CommitWrite();
        EXPECT_EQ(histogram.UpdateHistoBins(), 1);
    }
    void press(const HistogramDragger& dragger)
    {
        const Rect box = dragger.GetRect();
        EXPECT_EQ(histogram.OnMouseClick(box.x + 1, box.y + 1, 0), 1);
    }
    int xOf(int value) { return 12 + value * histogram.GetPlotRect().w / 65535; }

    Histogram histogram;
};

} // namespace

TEST_F(HistogramModel, StretchIsTheDefinitionForEveryPixelValue)
{
    histogram.SetContainerSize(424, 114);
    for (int step = 0; step < 4; ++step) {
        const int lo = histogram.GetLowDragger().value, hi = histogram.GetHighDragger().value;
        const int mid = histogram.GetMidDragger().value;
        const uint32_t* table = histogram.GetTransform();
        int wrong = 0;
        for (int v = 0; v < 65536; ++v) {
            const auto level = static_cast<uint32_t>(stretched(v, lo, hi, mid));
            wrong += table[v] != level << 16 && table[v] != (level << 16 | level << 8 | level);
            wrong += (table[v] & 0xFF) != level;
        }
        EXPECT_EQ(wrong, 0) << histogram.GetTitleString() << " mid " << mid;
        EXPECT_EQ(histogram.GetHistoTransferCurve(0), 0);
        for (int i = 1; i <= 64; ++i)
            ASSERT_EQ(histogram.GetHistoTransferCurve(i), stretched(i * 1024 - 1, lo, hi, mid)) << i;

        if (step == 3)
            break;
        press(step == 0   ? histogram.GetMidDragger()
              : step == 1 ? histogram.GetLowDragger()
                          : histogram.GetHighDragger());
        histogram.OnContinueDrag(step == 2 ? 0 : 150, 20); // at last the high bound onto the low one: no ramp
        histogram.OnReleaseDrag();
    }
    EXPECT_EQ(histogram.GetLowDragger().value, histogram.GetHighDragger().value);
}

TEST_F(HistogramModel, HandlesAndPlotLieWhereTheyAreDefined)
{
    histogram.SetContainerSize(424, 114); // plot: 400 x 100 at (12, 2)
    const auto boxes = [this] {
        std::vector<int> corners;
        for (const auto* dragger :
             {&histogram.GetLowDragger(), &histogram.GetHighDragger(), &histogram.GetMidDragger()}) {
            const Rect box = dragger->GetRect();
            EXPECT_EQ(box.w, 10);
            EXPECT_EQ(box.h, 10);
            corners.insert(corners.end(), {box.x, box.y});
        }
        return corners;
    };
    EXPECT_EQ(boxes(), (std::vector{2, 102, 412, 102, 2, 102 - 49}));
    for (const auto& [x, y] : {std::pair{11, 50}, {400, 50}, {100, 1}, {100, 94}})
        EXPECT_EQ(histogram.OnMouseClick(x, y, 0), 0);
    EXPECT_EQ(histogram.GetTitleString(), "0 - 65535"); // all beside the field for clicks
    EXPECT_EQ(histogram.OnMouseClick(399, 93, 1), 0);
    EXPECT_EQ(histogram.OnMouseClick(112, 2, 0), 0);
    EXPECT_EQ(histogram.GetTitleString(), "16383 - 63405"); // 100 and 387 of 400 pixels
    EXPECT_EQ(boxes(), (std::vector{101, 102, 398, 102, 2, 53}));
    EXPECT_EQ(histogram.OnContinueDrag(300, 50), 0); // nothing is held

    press(histogram.GetMidDragger());
    histogram.OnContinueDrag(50, 102);
    histogram.OnReleaseDrag();
    histogram.OnMouseClick(12, 50, 0);
    EXPECT_EQ(boxes(), (std::vector{2, 102, 398, 102, 2, 102})); // low and mid on one another: mid is taken
    press(histogram.GetLowDragger());
    histogram.OnContinueDrag(200, 52);
    EXPECT_EQ(histogram.GetTitleString(), "0 - 63405");
    EXPECT_EQ(histogram.GetMidDragger().value, 32767);
}

TEST_F(HistogramModel, AutomaticBoundsKeepThePercentageInside)
{
    histogram.SetContainerSize(424, 114);
    press(histogram.GetMidDragger());
    histogram.OnContinueDrag(0, 20);
    commit({{100, 2}, {110, 8}, {200, 80}, {300, 8}, {310, 2}});
    histogram.SetHistoBounds(95); // two pixels beyond either bound: up to bin 109 there are 2, up to 309 there are 98
    EXPECT_EQ(histogram.GetTitleString(),
              std::to_string(109 * 65535 / 1023) + " - " + std::to_string(309 * 65535 / 1023));
    EXPECT_EQ(histogram.GetMidDragger().value, 32767);
    histogram.SetHistoBounds(100);
    EXPECT_EQ(histogram.GetHighDragger().value, 65535);

    commit({{0, 50}, {5, 3}, {1023, 70}}); // the outermost bins are left out of maximum and total
    EXPECT_EQ(histogram.GetHistoBinsMaxValue(), 3u);
    EXPECT_EQ(histogram.CopyHistoBins().total, 3u);
    histogram.SetHistoBounds(99);
    EXPECT_EQ(histogram.GetTitleString(), "0 - 1024");
    for (int twice = 0; twice < 2; ++twice) {
        histogram.SetInvertedMode(1);
        EXPECT_EQ(histogram.GetTitleString(), twice ? "0 - 1024" : "64511 - 65535");
    }
    EXPECT_EQ(histogram.UpdateHistoBins(), 0);
    histogram.GetHistoBuffer()->CommitWrite();
    histogram.ClearHistoBuffer(); // also of what waits
    EXPECT_EQ(histogram.UpdateHistoBins(), 0);
    EXPECT_EQ(histogram.GetHistoBin(1023), 0u);
}

// A handle that was once stopped by the other one must not stay held there: presets move both.
TEST_F(HistogramModel, PresetsAndInversionReachWhatADragCouldNot)
{
    histogram.SetContainerSize(424, 114);
    histogram.OnMouseClick(xOf(30000), 50, 1);
    press(histogram.GetLowDragger());
    EXPECT_EQ(histogram.OnContinueDrag(INT32_MAX, 50), 1);
    EXPECT_EQ(histogram.GetLowDragger().value, histogram.GetHighDragger().value);
    histogram.OnContinueDrag(xOf(20000), 50);
    const std::string bounds = histogram.GetTitleString();
    histogram.SetInvertedMode(1);
    EXPECT_EQ(histogram.GetLowDragger().value + std::stoi(bounds.substr(bounds.find('-') + 1)), 65535);
    histogram.SetInvertedMode(0);
    EXPECT_EQ(histogram.GetTitleString(), bounds);

    commit({{10, 10}, {50, 80}, {60, 10}});
    histogram.SetHistoBounds(95); // far below the low bound that is held, by keyboard
    EXPECT_EQ(histogram.GetHighDragger().value, 59 * 65535 / 1023);
    histogram.OnContinueDrag(xOf(40000), 50);
    EXPECT_EQ(histogram.GetLowDragger().value, histogram.GetHighDragger().value);
    histogram.SetContainerSize(10, 10); // no room: nothing divides by zero
    histogram.OnContinueDrag(5, 5);
}

// The streaming thread must never see a table of which a part belongs to another setting.
TEST_F(HistogramModel, AFrameSeesOneTableWhileHandlesMove)
{
    histogram.SetContainerSize(424, 114);
    std::atomic<bool> stop{false};
    std::thread streaming([&] {
        while (!stop) {
            const uint32_t* table = histogram.GetTransform();
            for (int v = 1; v < 65536; ++v)
                ASSERT_LE(table[v - 1], table[v]); // two tables mixed would break the order sooner or later
            commit({{5, 9}});
        }
    });
    for (int i = 0; i < 300; ++i) {
        histogram.OnMouseClick(xOf(i * 200), 50, i % 2);
        histogram.SetHistoBounds(99);
        EXPECT_LE(histogram.CopyHistoBins().total, 9u);
    }
    stop = true;
    streaming.join();
}
