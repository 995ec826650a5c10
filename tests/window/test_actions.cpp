#include "ObriCam.h"
#include "SharedFlag.h"
#include "WindowTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Names = std::vector<std::string>;

class Actions : public WindowTest {
protected:
    Names activate(const char* action)
    {
        window->activate_action(action);
        return camera.take();
    }
    /// The actions that a person can use in a state of the camera, of those that depend on it.
    Names usable()
    {
        Names names;
        for (const char* name :
             {"startStreaming", "stopStreaming", "startRecordingAdv", "startRecordingFits", "stopRecording"})
            if (window->get_action_enabled(name))
                names.push_back(name);
        return names;
    }
};

TEST_F(Actions, StartAndStopOnlyWhatIsNotSoAlready)
{
    EXPECT_THAT(activate("startStreaming"), ElementsAre("startStreaming"));
    camera.streaming = 1;
    EXPECT_THAT(activate("startStreaming"), IsEmpty());
    EXPECT_THAT(usable(), ElementsAre("stopStreaming", "startRecordingAdv", "startRecordingFits"))
        << "refreshed by the action itself, before any timer";
    for (const auto& [action, call] : {std::pair{"stopStreaming", "stopStreaming"},
                                       {"singleFitsLight", "startRecordingSingleFits 0"},
                                       {"singleFitsDark", "startRecordingSingleFits 68"},
                                       {"singleFitsFlat", "startRecordingSingleFits 70"},
                                       {"startRecordingAdv", "startRecordingAdv"},
                                       {"startRecordingFits", "startRecordingFits"}})
        EXPECT_THAT(activate(action), ElementsAre(call));
    camera.recording = 1;
    EXPECT_TRUE(waitUntil([&] { return usable() == Names{"stopStreaming", "stopRecording"}; }));
    EXPECT_THAT(activate("stopRecording"), ElementsAre("stopRecording"));
    camera.streaming = 0;
    EXPECT_TRUE(waitUntil([&] { return usable() == Names{"startStreaming"}; })) << "untouched";
}

TEST_F(Actions, TheBoxShowsTheSizeInForceWithoutSendingIt)
{
    auto& box = find<Gtk::ComboBoxText>("cmbResolution");
    const auto inForce = [](int width, int height) {
        libobribase::storeShared(obriCam().w, width);
        libobribase::storeShared(obriCam().h, height);
    };
    inForce(1624, 1240);
    EXPECT_TRUE(waitUntil([&] { return box.get_active_row_number() == 0; }));
    EXPECT_THAT(camera.take(), IsEmpty());

    box.set_active(4);
    EXPECT_THAT(camera.take(), ElementsAre("setResolution 408 310"));
    inForce(408, 310); // as the facade leaves it
    letPass(0.6);
    EXPECT_EQ(box.get_active_row_number(), 4);
    inForce(0, 0);
}

} // namespace
