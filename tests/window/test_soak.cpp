#include "camera_control.h"
#include "FrameProcessor.h"
#include "SharedFlag.h"
#include "StreamStatus.h"
#include "WindowTest.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

namespace {

/// Everything that can be done to the window, in any order, while frames of changing sizes come in: finds what the
/// sanitizers know to look for (widgets and textures gone under a frame, races with the streaming thread).
class RandomUse : public WindowTest {
protected:
    RandomUse()
    {
        camera.streaming = 1;
        m_streaming = std::thread([this] { stream(); });
    }
    ~RandomUse() override
    {
        m_stop = true;
        m_streaming.join(); // as the program does it: no frame after the window goes
    }

    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    void useAControl()
    {
        static constexpr const char* sBoxes[] = {
            "cmbResolution", "cmbGain", "cmbFlip", "cmbOverlay", "cmbPreviewAspectRatio", "cmbPreviewZoomFactor"};
        static constexpr const char* sChecks[] = {"btnHighGain", "btnNoiseReduction",    "btnInvert",
                                                  "btnPcTime",   "btnPreviewCrosshairs", "btnPreviewOverflow"};
        static constexpr const char* sPresets[] = {"btnHisto100", "btnHisto999", "btnHisto99", "btnHisto95"};
        static constexpr const char* sTexts[] = {"", "100", "-5", "99999999999", "12ms", "4999"};
        switch (pick(4)) {
        case 0:
            return find<Gtk::ComboBoxText>(sBoxes[pick(6)]).set_active(pick(6) - 1);
        case 1:
            return find<Gtk::CheckButton>(sChecks[pick(6)]).clicked();
        case 2:
            return find<Gtk::Button>(sPresets[pick(4)]).clicked();
        default:
            return find<Gtk::Entry>(pick(2) ? "edtExpTime" : "edtBlackLevel").set_text(sTexts[pick(6)]);
        }
    }
    void useAnAction()
    {
        static constexpr const char* sActions[] = {"startStreaming",     "stopStreaming", "startRecordingAdv",
                                                   "startRecordingFits", "stopRecording", "singleFitsDark"};
        window->activate_action(sActions[pick(6)]);
        camera.streaming = pick(3) != 0;
        camera.recording = pick(2);
        updateStreamStatus([this](SStreamStatus& status) {
            status.recording.active = camera.recording != 0;
            status.framesSeen = m_random();
        });
    }
    void dragInTheHistogram()
    {
        auto& area = find<Gtk::DrawingArea>("ctlHistogram");
        const auto button = static_cast<guint>(pick(2) ? 1 : 3);
        press(area, pick(area.get_width()), pick(area.get_height()), button);
        for (int step = pick(5); step > 0; --step)
            move(area, pick(2 * area.get_width()) - 100, pick(300) - 100);
        release(area, 0, 0, button);
    }
    void disturbTheWindow()
    {
        auto& area = find<Gtk::GLArea>("glDrawingArea");
        if (pick(2))
            return window->resize(400 + pick(1500), 400 + pick(1000));
        area.hide();
        if (pick(2))
            gtk_widget_unrealize(GTK_WIDGET(area.gobj()));
        area.show();
    }

private:
    void stream()
    {
        static constexpr std::pair<int, int> sSizes[] = {{176, 128}, {408, 310}, {816, 620}, {1624, 1240}};
        std::vector<uint32_t> pixels(1624 * 1240, 0x404040);
        for (unsigned frame = 0; !m_stop; ++frame) {
            const auto& [width, height] = sSizes[frame / 50 % 4];
            pixels[frame % 1000] = frame;
            window->renderPreviewFrame(pixels.data(), width, height);
            auto* bins = reinterpret_cast<uint64_t*>(m_histogram->GetHistoBuffer()->GetWriteBuffer());
            std::fill(bins, bins + 1024, frame);
            m_histogram->GetHistoBuffer()->CommitWrite();
            m_histogram->UpdateHistoBins();
            m_histogram->GetTransform();
            libobribase::storeShared(m_updateHistogram, 1);
            window->invalidateHistogram();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    std::mt19937 m_random{2026};
    std::atomic<bool> m_stop{false};
    std::thread m_streaming;
};

TEST_F(RandomUse, HarmsNothingWhileFramesFlow)
{
    const char* asked = getenv("OBRI_SOAK_SECONDS");
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(asked ? atoi(asked) : 5);
    int steps = 0;
    for (; std::chrono::steady_clock::now() < end; ++steps) {
        const int what = pick(20);
        if (what < 10)
            useAControl();
        else if (what < 14)
            useAnAction();
        else if (what < 19)
            dragInTheHistogram();
        else
            disturbTheWindow();
        letPass(pick(10) ? 0 : 0.02);
    }
    EXPECT_GT(steps, 50);
    EXPECT_TRUE(window->get_mapped());
}

} // namespace
