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

    /// What choosing a row of a box makes the camera do.
    std::vector<std::string> choose(const char* id, int row)
    {
        find<Gtk::ComboBoxText>(id).set_active(row);
        return camera.take();
    }
    /// What an entry makes the camera do when its whole text is replaced.
    std::vector<std::string> write(const char* id, const char* text)
    {
        find<Gtk::Entry>(id).set_text(text);
        return camera.take();
    }
    std::vector<std::string> toggle(const char* id)
    {
        find<Gtk::CheckButton>(id).clicked();
        return camera.take();
    }
    bool isMarkedInvalid(const char* id) { return find<Gtk::Entry>(id).get_style_context()->has_class("error"); }
};

TEST_F(Controls, ResolutionRowsHaveTheirSizes)
{
    EXPECT_THAT(choose("cmbResolution", 0), ElementsAre("setResolution 1624 1240"));
    EXPECT_THAT(choose("cmbResolution", 1), ElementsAre("setResolution 1624 128"));
    EXPECT_THAT(choose("cmbResolution", 2), ElementsAre("setResolution 176 128"));
    EXPECT_THAT(choose("cmbResolution", 3), ElementsAre("setResolution 816 620"));
    EXPECT_THAT(choose("cmbResolution", 4), ElementsAre("setResolution 408 310"));
    EXPECT_THAT(choose("cmbResolution", -1), ElementsAre("setResolution 1624 1240")) << "no row: the full size";
}

TEST_F(Controls, BoxesSendTheirRow)
{
    EXPECT_THAT(choose("cmbGain", 0), ElementsAre("setGain 0"));
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbGain").get_active_text(), "0 dB");
    EXPECT_THAT(choose("cmbGain", 25), ElementsAre("setGain 25"));
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbGain").get_active_text(), "25 dBD");
    EXPECT_THAT(choose("cmbGain", 48), ElementsAre("setGain 48"));
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbGain").get_model()->children().size(), 49u);
    EXPECT_THAT(choose("cmbFlip", 3), ElementsAre("setFlipMode 3"));
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbFlip").get_active_text(), "XY");
    EXPECT_THAT(choose("cmbOverlay", 2), ElementsAre("setOverlayMode 2"));
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbOverlay").get_active_text(), "ascii");
}

TEST_F(Controls, CheckBoxesSendTheirState)
{
    EXPECT_THAT(toggle("btnHighGain"), ElementsAre("setHighGainMode 0")) << "on by default";
    EXPECT_THAT(toggle("btnHighGain"), ElementsAre("setHighGainMode 1"));
    EXPECT_THAT(toggle("btnNoiseReduction"), ElementsAre("setFpnMode 1"));
    EXPECT_THAT(toggle("btnPcTime"), ElementsAre("setShowPcTime 1"));
    EXPECT_THAT(toggle("btnPreviewCrosshairs"), IsEmpty()) << "has no handler, on purpose";
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
        const auto calls = write(id, text);
        EXPECT_EQ(calls, call ? std::vector<std::string>{call} : std::vector<std::string>{});
        EXPECT_EQ(isMarkedInvalid(id), !call);
    }
}

TEST_F(Controls, AnEntryPutRightIsNoLongerMarked)
{
    write("edtExpTime", "5000");
    EXPECT_THAT(write("edtExpTime", "500"), ElementsAre("setExposureTime 500"));
    EXPECT_FALSE(isMarkedInvalid("edtExpTime"));
}

TEST_F(Controls, AspectRatioSetsTheZoomThatGoesWithIt)
{
    auto& zoom = find<Gtk::ComboBoxText>("cmbPreviewZoomFactor");
    testing::internal::CaptureStdout();
    choose("cmbPreviewAspectRatio", 2);
    EXPECT_EQ(zoom.get_active_text(), "50%");
    zoom.set_active_text("400%");
    choose("cmbPreviewAspectRatio", 1);
    EXPECT_EQ(zoom.get_active_text(), "25%");
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "onCmbPreviewAspectRatioChanged ix=2\n"
                                                      "onCmbPreviewZoomFactorChanged zoomFactor=50\n"
                                                      "onCmbPreviewZoomFactorChanged zoomFactor=400\n"
                                                      "onCmbPreviewAspectRatioChanged ix=1\n"
                                                      "onCmbPreviewZoomFactorChanged zoomFactor=25\n");
}

} // namespace
