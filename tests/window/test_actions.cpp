#include "camera_control.h"
#include "SharedFlag.h"
#include "StreamStatus.h"
#include "WindowTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Actions : public WindowTest {
protected:
    Actions() { camera.take(); }

    std::vector<std::string> activate(const char* action)
    {
        window->activate_action(action);
        return camera.take();
    }
    /// The actions that a person can use in a state of the camera, of those that depend on it.
    std::vector<std::string> usable()
    {
        std::vector<std::string> names;
        for (const char* name :
             {"startStreaming", "stopStreaming", "startRecordingAdv", "startRecordingFits", "stopRecording"})
            if (isEnabled(name))
                names.push_back(name);
        return names;
    }
    void cameraTurns(int streaming, int recording)
    {
        camera.streaming = streaming;
        camera.recording = recording;
    }
};

TEST_F(Actions, FollowTheCameraWithoutBeingTouched)
{
    EXPECT_THAT(usable(), ElementsAre("startStreaming"));
    cameraTurns(1, 0);
    EXPECT_TRUE(waitUntil([&] { return isEnabled("stopStreaming"); }));
    EXPECT_THAT(usable(), ElementsAre("stopStreaming", "startRecordingAdv", "startRecordingFits"));
    cameraTurns(1, 1);
    EXPECT_TRUE(waitUntil([&] { return isEnabled("stopRecording"); }));
    EXPECT_THAT(usable(), ElementsAre("stopStreaming", "stopRecording"));
    cameraTurns(0, 1);
    EXPECT_TRUE(waitUntil([&] { return isEnabled("startStreaming"); }));
    EXPECT_THAT(usable(), ElementsAre("startStreaming"));
}

TEST_F(Actions, StartAndStopOnlyWhatIsNotSoAlready)
{
    EXPECT_THAT(activate("startStreaming"), ElementsAre("startStreaming"));
    cameraTurns(1, 0);
    EXPECT_THAT(activate("startStreaming"), IsEmpty());
    EXPECT_THAT(usable(), ElementsAre("stopStreaming", "startRecordingAdv", "startRecordingFits"))
        << "refreshed by the action itself, before any timer";
    EXPECT_THAT(activate("stopStreaming"), ElementsAre("stopStreaming"));
    EXPECT_THAT(activate("singleFitsLight"), ElementsAre("startRecordingSingleFits 0"));
    EXPECT_THAT(activate("singleFitsDark"), ElementsAre("startRecordingSingleFits 68"));
    EXPECT_THAT(activate("singleFitsFlat"), ElementsAre("startRecordingSingleFits 70"));
    EXPECT_THAT(activate("startRecordingAdv"), ElementsAre("startRecordingAdv"));
    EXPECT_THAT(activate("startRecordingFits"), ElementsAre("startRecordingFits"));
    cameraTurns(1, 1);
    EXPECT_TRUE(waitUntil([&] { return isEnabled("stopRecording"); }));
    EXPECT_THAT(activate("stopRecording"), ElementsAre("stopRecording"));
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
    inForce(408, 310); // as the facade leaves it, while frames of the old size still come
    updateStreamStatus([](SStreamStatus& status) { status.width = 1624, status.height = 1240; });
    letPass(0.6);
    EXPECT_EQ(box.get_active_row_number(), 4);
    inForce(0, 0);
}

} // namespace
