#include <array>
#include <cstdio>
#include <cstdlib>
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

TEST_F(BrokenResource, EndsTheProcessWithItsMessage)
{
    const std::array<const char*, 4> cases[] = {
        {"mainMenu.ui", "id=\"toolbar\"", "id=\"elsewhere\"", "no toolbar\n"},
        {"mainWindow.ui", "GtkComboBoxText\" id=\"cmbFlip\"", "GtkComboBox\" id=\"cmbFlip\"", "no flip combo box\n"},
        {"mainWindow.ui", "id=\"btnHisto99\"", "id=\"elsewhere\"", "Can't find button 'btnHisto99' in ui.\n"}};
    for (const auto& [name, from, to, message] : cases) {
        overlay(name, from, to);
        EXPECT_THAT(build(), HasSubstr(message));
        EXPECT_EQ(m_status, 255);
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
