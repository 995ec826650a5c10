#include "FrameProcessor.h"
#include "WindowTest.h"

#include <gtkmm/stylecontext.h>

using testing::ElementsAre;

namespace {

using Controls = WindowTest;

TEST_F(Controls, BoxesSendTheirRow)
{
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"cmbResolution", 0, "1624 x 1240", "setResolution 1624 1240"},
        {"cmbResolution", 1, "1624 x 128 (fast)", "setResolution 1624 128"},
        {"cmbResolution", 2, "176 x 128 (fast)", "setResolution 176 128"},
        {"cmbResolution", 4, "408 x 310", "setResolution 408 310"},
        {"cmbGain", 0, "0 dB", "setGain 0"},
        {"cmbGain", 25, "25 dBD", "setGain 25"},
        {"cmbGain", 48, "48 dBD", "setGain 48"},
        {"cmbFlip", 3, "XY", "setFlipMode 3"},
        {"cmbOverlay", 2, "ascii", "setOverlayMode 2"}};
    for (const auto& [id, row, text, call] : cases) {
        auto& box = find<Gtk::ComboBoxText>(id);
        box.set_active(row);
        EXPECT_THAT(camera.take(), ElementsAre(call));
        EXPECT_EQ(box.get_active_text(), text);
    }
}

TEST_F(Controls, CheckBoxesSendTheirState)
{
    const auto toggle = [&](const char* id) {
        find<Gtk::CheckButton>(id).clicked();
        return camera.take();
    };
    EXPECT_THAT(toggle("btnHighGain"), ElementsAre("setHighGainMode 0")) << "on by default";
    EXPECT_THAT(toggle("btnHighGain"), ElementsAre("setHighGainMode 1"));
    EXPECT_THAT(toggle("btnNoiseReduction"), ElementsAre("setFpnMode 1"));
    EXPECT_THAT(toggle("btnPcTime"), ElementsAre("setShowPcTime 1"));
    m_histogram->OnMouseClick(m_histogram->GetPlotRect().w / 4, 10, 1); // the high bound comes down
    const int high = m_histogram->GetHighDragger().GetValue();
    EXPECT_THAT(toggle("btnInvert"), ElementsAre("setInvertMode 1"));
    EXPECT_EQ(m_histogram->GetTitleString(), std::to_string(65535 - high) + " - 65535") << "mirrored, too";
}

TEST_F(Controls, OverflowReachesTheFrameProcessor)
{
    struct SOpen : FrameProcessor {
        using FrameProcessor::m_showPixelOverflow;
    } processor;
    FrameProcessor* programs = std::exchange(m_frameProcessor, &processor);
    find<Gtk::CheckButton>("btnPreviewOverflow").clicked();
    EXPECT_TRUE(processor.m_showPixelOverflow);
    m_frameProcessor = programs;
}

TEST_F(Controls, EntriesSendWhatIsInRangeAndMarkWhatIsNot)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"edtExpTime", "0", nullptr}, // the camera must not hear of it
        {"edtExpTime", "1", "setExposureTime 1"},
        {"edtExpTime", "4999", "setExposureTime 4999"},
        {"edtExpTime", "5000", nullptr},
        {"edtExpTime", "12ms", "setExposureTime 12"},
        {"edtExpTime", "ms", nullptr},
        {"edtExpTime", "4294967396", nullptr}, // 100 if it were cut to 32 bits
        {"edtBlackLevel", "-1", nullptr},
        {"edtBlackLevel", "0", "setBlackLevel 0"},
        {"edtBlackLevel", "65534", "setBlackLevel 65534"},
        {"edtBlackLevel", "65535", nullptr}};
    for (const auto& [id, text, call] : cases) {
        SCOPED_TRACE(std::string(id) + " \"" + text + "\"");
        auto& entry = find<Gtk::Entry>(id);
        entry.set_text(text);
        EXPECT_EQ(camera.take(), call ? std::vector<std::string>{call} : std::vector<std::string>{});
        EXPECT_EQ(entry.get_style_context()->has_class("error"), !call);
    }
}

} // namespace
