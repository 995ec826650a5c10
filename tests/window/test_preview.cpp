#include "WindowTest.h"

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
    Gtk::GLArea& area() { return find<Gtk::GLArea>("glDrawingArea"); }

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
    bool isShown(const std::vector<uint32_t>& image, int width)
    {
        const int height = static_cast<int>(image.size()) / width;
        return waitUntil([&] {
            letPass(0.02);
            return area().get_width() == width && area().get_height() == height && look(area(), width, height) == image;
        });
    }
};

TEST_F(Preview, EverySizeIsOnTheScreenPixelForPixel)
{
    const std::pair<int, int> sizes[] = {{816, 620}, {1624, 1240}, {1624, 128}, {176, 128}, {408, 310}, {816, 620}};
    for (const auto& [width, height] : sizes) {
        auto image = noise(width, height, static_cast<unsigned>(width));
        show(image, width);
        EXPECT_TRUE(isShown(image, width)) << width << " x " << height;
    }
}

/// A window that stands still must not cost a frame: the stream would lose what the camera sends meanwhile.
TEST_F(Preview, StreamGoesOnWhileTheWindowStandsStill)
{
    constexpr auto sStall = std::chrono::seconds(3);
    constexpr auto sPeriod = std::chrono::milliseconds(2);
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
            std::this_thread::sleep_until(now + sPeriod);
        }
    });
    std::this_thread::sleep_for(sStall); // the main loop does not run
    streaming.join();
    EXPECT_LT(longest, sStall / 2) << "one that waited for the window would have waited for the whole stall";
    EXPECT_GT(frames, 50u) << "of 1500, on a busy machine";
    EXPECT_TRUE(isShown(image, 176)) << "the last one";
}

/// Runs on contexts that the environment chooses for the whole process.
class PreviewOnOtherGl : public Preview {};

TEST_F(PreviewOnOtherGl, EsShowsTheGradient)
{
    auto image = noise(408, 310, 1);
    show(image, 408);
    std::vector<uint32_t> pixels;
    const auto green = [&](int row) { return pixels[static_cast<size_t>(row) * 408] >> 8 & 0xFF; };
    EXPECT_TRUE(waitUntil([&] {
        letPass(0.02);
        pixels = look(area(), 408, 310);
        return area().get_width() == 408 && area().get_height() == 310 && std::abs(green(309) - 0.85 * 255) <= 2;
    })) << "the bottom row";
    EXPECT_NEAR(green(60), (0.85 + (0.2 - 0.85) * 249.5 / 500) * 255, 2) << "249 rows above it";
    for (size_t column = 1; column < 408; ++column)
        ASSERT_EQ(pixels[column], pixels[0]);
}

TEST_F(PreviewOnOtherGl, SaysWhyThereIsNoPicture)
{
    GError* error = gtk_gl_area_get_error(area().gobj()); // GTK writes it where the picture would be
    ASSERT_TRUE(error);
    EXPECT_EQ(std::string(error->message).find("No preview: "), 0u) << error->message;
    auto image = noise(408, 310, 1);
    show(image, 408);
    letPass(0.3);
    EXPECT_TRUE(window->get_mapped());
}

} // namespace
