#include "WindowTest.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gio/gio.h>
#include <giomm/resource.h>
#include <sys/wait.h>

extern "C" {
#include <obriresources.h>
}

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Construction : public WindowTest {};

TEST_F(Construction, SendsTheDefaultSettingsInTheirOrder)
{
    EXPECT_THAT(camera.take(), ElementsAre("setResolution 816 620", "setExposureTime 100", "setGain 24",
                                           "setHighGainMode 1", "setBlackLevel 100"));
    EXPECT_EQ(window->get_title(), "OBRI Cam Control - v0.3.0");
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbPreviewAspectRatio").get_active_text(), "Scale to fit");
    EXPECT_EQ(find<Gtk::ComboBoxText>("cmbPreviewZoomFactor").get_active_text(), "25%");
}

TEST_F(Construction, FitsASmallLaptopOnceShrunk)
{
    int minimum = 0, natural = 0;
    window->get_preferred_height(minimum, natural);
    EXPECT_LE(minimum, 740) << "768 lines less a title bar";
    window->get_preferred_width(minimum, natural);
    EXPECT_LE(minimum, 1366);
}

/// Every label that names a control by a letter leads to one, and no two have the same letter.
TEST_F(Construction, MnemonicsLeadToDifferentControls)
{
    std::map<guint, std::string> owners;
    const std::function<void(Gtk::Widget*)> visit = [&](Gtk::Widget* widget) {
        guint key = GDK_KEY_VoidSymbol;
        if (auto* label = dynamic_cast<Gtk::Label*>(widget))
            key = label->get_mnemonic_keyval();
        if (key != GDK_KEY_VoidSymbol) {
            auto* label = static_cast<Gtk::Label*>(widget);
            const bool leads = label->get_mnemonic_widget() || dynamic_cast<Gtk::CheckButton*>(label->get_parent()) ||
                               dynamic_cast<Gtk::MenuItem*>(label->get_parent());
            EXPECT_TRUE(leads) << label->get_text();
            EXPECT_TRUE(owners.emplace(key, label->get_text()).second)
                << label->get_text() << " has the letter of " << owners[key];
        }
        if (auto* container = dynamic_cast<Gtk::Container*>(widget))
            container->forall([&](Gtk::Widget& child) { visit(&child); });
    };
    visit(window.get());
    EXPECT_GE(owners.size(), 14u);
}

/// Lets resources of the bundle be replaced by files, and builds a window in another process.
class BrokenResource : public testing::TestWithParam<std::array<const char*, 4>> {
protected:
    BrokenResource()
    {
        obri_register_resource();
        std::filesystem::create_directories(m_folder);
    }
    ~BrokenResource() override { std::filesystem::remove_all(m_folder); }

    /// The resource with one text replaced by another.
    void overlay(const std::string& name, const std::string& from, const std::string& to)
    {
        gsize size = 0;
        const auto bytes = Gio::Resource::lookup_data_global("/org/obricam/camctl/" + name);
        const auto* data = static_cast<const char*>(bytes->get_data(size));
        std::string text(data, size);
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << name << " has no " << from;
        std::ofstream(m_folder / name) << text.replace(at, from.size(), to);
    }
    /// Standard error and output of a process that builds the window; its status in m_status.
    std::string build()
    {
        const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
        const std::string command = "G_RESOURCE_OVERLAYS=/org/obricam/camctl=" + m_folder.string() + " " + program +
                                    " --build-window 2>&1 </dev/null";
        FILE* pipe = popen(command.c_str(), "r");
        std::string output;
        for (int c = 0; (c = fgetc(pipe)) != EOF;)
            output += static_cast<char>(c);
        m_status = WEXITSTATUS(pclose(pipe));
        return output;
    }

    std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / ("obri-window-" + std::to_string(getpid()));
    int m_status = -1;
};

TEST_P(BrokenResource, EndsTheProcessWithItsMessage)
{
    const auto& [name, from, to, message] = GetParam();
    overlay(name, from, to);
    EXPECT_THAT(build(), HasSubstr(message));
    EXPECT_EQ(m_status, 255);
}

INSTANTIATE_TEST_SUITE_P(
    , BrokenResource,
    testing::Values(std::array{"mainMenu.ui", "id=\"toolbar\"", "id=\"elsewhere\"", "no toolbar\n"},
                    std::array{"mainWindow.ui", "id=\"content\"", "id=\"elsewhere\"", "no content\n"},
                    std::array{"mainWindow.ui", "GtkComboBoxText\" id=\"cmbFlip\"", "GtkComboBox\" id=\"cmbFlip\"",
                               "no flip combo box\n"},
                    std::array{"mainWindow.ui", "id=\"btnHisto99\"", "id=\"elsewhere\"",
                               "Can't find button 'btnHisto99' in ui.\n"},
                    std::array{"mainWindow.ui", "GtkGLArea\" id=\"glDrawingArea\"",
                               "GtkDrawingArea\" id=\"glDrawingArea\"", "no OpenGL area\n"}),
    [](const auto& test) { return std::to_string(test.index); });

/// The harmless neighbour: another file in the same place changes nothing.
TEST_F(BrokenResource, UntouchedPartsBuildAWindow)
{
    overlay("style.css", "window", "window");
    EXPECT_THAT(build(), HasSubstr("MainWindow constructor complete\n"));
    EXPECT_EQ(m_status, 0);
}

TEST_F(BrokenResource, AShaderThatDoesNotCompileLeavesTheRest)
{
    overlay("glarea-gl.fs.glsl", "vec4(texel.b", "vec5(texel.b");
    const std::string output = build();
    EXPECT_THAT(output, HasSubstr("Compile failure in fragment shader: "));
    EXPECT_THAT(output, HasSubstr("MainWindow constructor complete\n"));
    EXPECT_EQ(m_status, 0);
}

} // namespace
