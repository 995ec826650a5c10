#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gio/gio.h>
#include <giomm/resource.h>
#include <gmock/gmock.h>
#include <sys/wait.h>

extern "C" {
#include <obriresources.h>
}

using testing::HasSubstr;

namespace {

/// Lets resources of the bundle be replaced by files, and builds a window in another process.
class BrokenResource : public testing::Test {
protected:
    BrokenResource()
    {
        obri_register_resource();
        std::filesystem::create_directories(m_folder);
    }
    ~BrokenResource() override { std::filesystem::remove_all(m_folder); }

    /// The resource with one text replaced by another, wherever it stands.
    void overlay(const std::string& name, const std::string& from, const std::string& to)
    {
        gsize size = 0;
        const auto bytes = Gio::Resource::lookup_data_global("/org/obricam/camctl/" + name);
        const auto* data = static_cast<const char*>(bytes->get_data(size));
        std::string text(data, size);
        ASSERT_NE(text.find(from), std::string::npos) << name << " has no " << from;
        for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
        std::ofstream(m_folder / name) << text;
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

TEST_F(BrokenResource, EndsTheProcessWithItsMessage)
{
    overlay("mainWindow.ui", "GtkComboBoxText\" id=\"cmbFlip\"", "GtkComboBox\" id=\"cmbFlip\"");
    EXPECT_THAT(build(), HasSubstr("no flip combo box\n")) << "there, but another kind of widget";
    const std::pair<const char*, const char*> messages[] = {{"toolbar", "no toolbar"},
                                                            {"content", "no content"},
                                                            {"cmbResolution", "no resolution combo box"},
                                                            {"edtExpTime", "no edtExpTime"},
                                                            {"cmbGain", "no gain combo box"},
                                                            {"edtBlackLevel", "no edtBlackLevel"},
                                                            {"cmbOverlay", "no overlay combo box"},
                                                            {"cmbPreviewAspectRatio", "no aspect ratio combo box"},
                                                            {"cmbPreviewZoomFactor", "no zoom factor combo box"},
                                                            {"btnHighGain", "Can't find button 'btnHighGain' in ui."},
                                                            {"btnHisto95", "Can't find button 'btnHisto95' in ui."},
                                                            {"ctlHistogram", "no histogram drawing area"},
                                                            {"glDrawingArea", "no OpenGL area"}};
    for (const auto& [id, message] : messages) {
        const std::string name = strcmp(id, "toolbar") == 0 ? "mainMenu.ui" : "mainWindow.ui";
        overlay(name, id, "elsewhere"); // also where a label names it
        EXPECT_THAT(build(), HasSubstr(std::string(message) + '\n'));
        EXPECT_EQ(m_status, 255) << message;
        std::filesystem::remove(m_folder / name);
    }
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
