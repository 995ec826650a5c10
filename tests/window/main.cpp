#include <gtest/gtest.h>
#include <gtkmm/application.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) // needs no display
        return RUN_ALL_TESTS();
    const auto app = Gtk::Application::create("org.obricam.camctl.test", Gio::APPLICATION_NON_UNIQUE);
    app->register_application();
    return RUN_ALL_TESTS();
}
