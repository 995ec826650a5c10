#include "WindowTest.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

using Clock = std::chrono::steady_clock;

namespace {

class Preview : public WindowTest {
protected:
    Preview()
    {
        window->resize(2180, 1680);
        waitUntil([&] { return window->get_width() >= 2100; });
        letPass(0.2);
    }
    /// No two neighbours alike, so that a picture moved or stretched by a pixel differs everywhere.
    static std::vector<uint32_t> noise(int width, int height, unsigned seed)
    {
        std::mt19937 random(seed);
        std::vector<uint32_t> pixels(static_cast<size_t>(width) * height);
        for (auto& pixel : pixels)
            pixel = random() & 0xFFFFFF;
        return pixels;
    }
    void show(std::vector<uint32_t>& image, int width)
    {
        window->renderPreviewFrame(image.data(), width, static_cast<int>(image.size()) / width);
    }
    /// Waits until the preview has a size and a judge likes what it shows.
    template <class Judge>
    bool shows(int width, int height, Judge judge)
    {
        return waitUntil([&] {
            letPass(0.02);
            return area.get_width() == width && area.get_height() == height && judge(look(area, width, height));
        });
    }

    Gtk::GLArea& area = find<Gtk::GLArea>("glDrawingArea");
};

TEST_F(Preview, EverySizeIsOnTheScreenPixelForPixel)
{
    const std::pair<int, int> sizes[] = {{816, 620}, {1624, 1240}, {1624, 128}, {176, 128}, {408, 310}, {816, 620}};
    for (const auto& [width, height] : sizes) {
        auto image = noise(width, height, static_cast<unsigned>(width));
        show(image, width);
        EXPECT_TRUE(shows(width, height, [&](const auto& seen) { return seen == image; })) << width << " x " << height;
    }
}

/// A window that stands still must not cost a frame: the stream would lose what the camera sends meanwhile.
TEST_F(Preview, StreamGoesOnWhileTheWindowStandsStill)
{
    constexpr auto sStall = std::chrono::seconds(3);
    Clock::duration longest{};
    unsigned frames = 0;
    std::vector<uint32_t> image;
    std::thread streaming([&] {
        const auto begin = Clock::now();
        for (auto now = begin; now < begin + sStall; now = Clock::now()) {
            image = noise(176, 128, ++frames);
            show(image, 176);
            window->invalidateHistogram();
            longest = std::max(longest, Clock::now() - now);
            std::this_thread::sleep_until(now + std::chrono::milliseconds(2));
        }
    });
    std::this_thread::sleep_for(sStall); // the main loop does not run
    streaming.join();
    EXPECT_LT(longest, sStall / 2) << "one that waited for the window would have waited for the whole stall";
    EXPECT_GT(frames, 50u) << "of 1500, on a busy machine";
    EXPECT_TRUE(shows(176, 128, [&](const auto& seen) { return seen == image; })) << "the last one";
}

/// Runs on contexts that the environment chooses for the whole process.
class PreviewOnOtherGl : public Preview {};

TEST_F(PreviewOnOtherGl, EsShowsTheGradient)
{
    auto image = noise(408, 310, 1);
    show(image, 408);
    EXPECT_TRUE(shows(408, 310, [](const std::vector<uint32_t>& seen) {
        const auto green = [&](int row) { return seen[static_cast<size_t>(row) * 408] >> 8 & 0xFF; };
        const double at60 = (0.85 + (0.2 - 0.85) * 249.5 / 500) * 255; // 249 rows above the bottom one
        return std::abs(green(309) - 0.85 * 255) <= 2 && std::abs(green(60) - at60) <= 2 &&
               std::all_of(seen.begin(), seen.begin() + 408, [&](uint32_t pixel) { return pixel == seen[0]; });
    }));
}

TEST_F(PreviewOnOtherGl, SaysWhyThereIsNoPicture)
{
    GError* error = gtk_gl_area_get_error(area.gobj()); // GTK writes it where the picture would be
    ASSERT_TRUE(error);
    EXPECT_THAT(error->message, testing::StartsWith("No preview: "));
    auto image = noise(408, 310, 1);
    show(image, 408);
    letPass(0.3);
    EXPECT_TRUE(window->get_mapped());
}

} // namespace
