#include "MainWindow.h"
#include "SUiFunctions.h"

#include <cstring>
#include <gtest/gtest.h>
#include <gtkmm/application.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) // needs no display
        return RUN_ALL_TESTS();
    const auto app = Gtk::Application::create("org.obricam.camctl.test", Gio::APPLICATION_NON_UNIQUE);
    app->register_application();
    if (argc > 1 && strcmp(argv[1], "--build-window") == 0) { // ends with status 255 when a part is missing
        SUiFunctions functions{};
        functions.getIsStreaming = functions.getIsRecording = [] { return 0; };
        functions.setResolution = [](int, int) {};
        functions.setExposureTime = functions.setGain = functions.setHighGainMode =
            functions.setBlackLevel = [](int) {};
        MainWindow window(&functions);
        return 0;
    }
    return RUN_ALL_TESTS();
}
