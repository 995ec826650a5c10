#include "../unit/base/TemporaryFolder.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/wait.h>

using testing::HasSubstr;

namespace {

/// Runs a test of the window in another process, where a text is replaced by another wherever it stands in a resource;
/// gives what that process says.
std::string runWith(const std::string& resource, const std::string& from, const std::string& to, int expectedStatus)
{
    const TemporaryFolder folder;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = "sed 's/" + from + "/" + to + "/' " OBRI_RESOURCES "/" + resource + " >" + resource +
                                "; G_RESOURCE_OVERLAYS=/org/obricam/camctl=" + folder.path().string() + " " + program +
                                " --gtest_filter=Controls.CheckBoxesSendTheirState >said 2>&1 </dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), expectedStatus) << from;
    return folder.textOf("said");
}

TEST(BrokenResource, EndsTheProcessWithItsMessage)
{
    EXPECT_THAT(runWith("mainWindow.ui", "GtkComboBoxText\" id=\"cmbFlip\"", "GtkComboBox\" id=\"cmbFlip\"", 255),
                HasSubstr("no flip combo box\n"))
        << "there, but another kind of widget";
    EXPECT_THAT(runWith("mainMenu.ui", "toolbar", "elsewhere", 255), HasSubstr("no toolbar\n"));
    for (const auto& [id, message] : {std::pair{"content", "no content\n"},
                                      {"cmbResolution", "no resolution combo box\n"},
                                      {"edtExpTime", "no edtExpTime\n"},
                                      {"cmbGain", "no gain combo box\n"},
                                      {"edtBlackLevel", "no edtBlackLevel\n"},
                                      {"cmbOverlay", "no overlay combo box\n"},
                                      {"cmbPreviewAspectRatio", "no aspect ratio combo box\n"},
                                      {"cmbPreviewZoomFactor", "no zoom factor combo box\n"},
                                      {"btnHighGain", "Can't find button 'btnHighGain' in ui.\n"},
                                      {"ctlHistogram", "no histogram drawing area\n"},
                                      {"glDrawingArea", "no OpenGL area\n"}})
        EXPECT_THAT(runWith("mainWindow.ui", id, "elsewhere", 255), HasSubstr(message));
}

TEST(BrokenResource, AShaderThatDoesNotCompileLeavesTheRest)
{
    const std::string output = runWith("glarea-gl.fs.glsl", "vec4(texel.b", "vec5(texel.b", 0);
    EXPECT_THAT(output, HasSubstr("Compile failure in fragment shader: "));
    EXPECT_THAT(output, HasSubstr("MainWindow constructor complete\n"));
}

} // namespace
