#include "FrameProcessor.h"
#include "streaming.h"
#include "WindowTest.h"

#include <gtkmm/stylecontext.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Controls : public WindowTest {
protected:
    Controls() { camera.take(); }

    std::vector<std::string> toggle(const char* id)
    {
        find<Gtk::CheckButton>(id).clicked();
        return camera.take();
    }
};

TEST_F(Controls, SitInAWindowThatFitsALaptop)
{
    EXPECT_EQ(window->get_title(), "OBRI Cam Control - v0.3.0");
    int width = 0, height = 0;
    window->get_default_size(width, height);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(1200, 1000));
    gtk_widget_get_preferred_height(GTK_WIDGET(window->gobj()), &height, nullptr);
    EXPECT_LE(height, 700) << "a laptop of 768 lines has a panel and a title bar, too";
}

TEST_F(Controls, InvertAlsoMirrorsTheBounds)
{
    const libobribase::Rect plot = m_histogram->GetPlotRect();
    m_histogram->OnMouseClick(plot.x + plot.w / 4, plot.y + 1, 1); // the high bound comes down
    const int high = m_histogram->GetHighDragger().GetValue();
    ASSERT_LT(high, 20000);
    EXPECT_THAT(toggle("btnInvert"), ElementsAre("setInvertMode 1"));
    EXPECT_EQ(m_histogram->GetTitleString(), std::to_string(65535 - high) + " - 65535");
    EXPECT_THAT(toggle("btnInvert"), ElementsAre("setInvertMode 0"));
    EXPECT_EQ(m_histogram->GetTitleString(), "0 - " + std::to_string(high));
}

TEST_F(Controls, OverflowReachesTheFrameProcessor)
{
    struct SOpen : FrameProcessor {
        using FrameProcessor::m_showPixelOverflow;
    } processor;
    FrameProcessor* programs = std::exchange(m_frameProcessor, &processor);
    EXPECT_THAT(toggle("btnPreviewOverflow"), IsEmpty());
    EXPECT_TRUE(processor.m_showPixelOverflow);
    toggle("btnPreviewOverflow");
    EXPECT_FALSE(processor.m_showPixelOverflow);
    m_frameProcessor = programs;
}

TEST_F(Controls, EntriesSendWhatIsInRangeAndMarkWhatIsNot)
{
    struct SCase {
        const char *id, *text, *call; // call: null when the camera must not hear of it
    };
    const SCase cases[] = {
        {"edtExpTime", "0", nullptr},
        {"edtExpTime", "1", "setExposureTime 1"},
        {"edtExpTime", "4999", "setExposureTime 4999"},
        {"edtExpTime", "5000", nullptr},
        {"edtExpTime", "12ms", "setExposureTime 12"},
        {"edtExpTime", "ms", nullptr},
        {"edtExpTime", "4294967396", nullptr}, // 100 if it were cut to 32 bits
        {"edtExpTime", "", nullptr},
        {"edtBlackLevel", "-1", nullptr},
        {"edtBlackLevel", "0", "setBlackLevel 0"},
        {"edtBlackLevel", "65534", "setBlackLevel 65534"},
        {"edtBlackLevel", "65535", nullptr},
    };
    for (const auto& [id, text, call] : cases) {
        SCOPED_TRACE(std::string(id) + " \"" + text + "\"");
        auto& entry = find<Gtk::Entry>(id);
        entry.set_text(text);
        EXPECT_EQ(camera.take(), call ? std::vector<std::string>{call} : std::vector<std::string>{});
        EXPECT_EQ(entry.get_style_context()->has_class("error"), !call);
    }
}

} // namespace
