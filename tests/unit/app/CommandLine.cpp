#include "CommandLine.h"

#include <gtest/gtest.h>
#include <gtkmm/main.h>

namespace {

struct SChecked {
    bool right;
    bool noGui;
    std::string said;
};

SChecked check(std::vector<std::string> arguments)
{
    std::vector<char*> list;
    for (auto& argument : arguments)
        list.push_back(argument.data());
    list.push_back(nullptr);
    SChecked checked{};
    testing::internal::CaptureStderr();
    checked.right = checkArguments(list.data(), checked.noGui);
    checked.said = testing::internal::GetCapturedStderr();
    return checked;
}

} // namespace

TEST(CommandLine, IsCheckedBeforeAnythingElseHappens)
{
    Gtk::Main::init_gtkmm_internals();
    EXPECT_TRUE(check({"program"}).right);
    const SChecked full =
        check({"program", "--no-gui", "--observer-name", "A B", "--telescope-name=T", "--object-name", "4 Vesta"});
    EXPECT_TRUE(full.right);
    EXPECT_TRUE(full.noGui);
    EXPECT_EQ(full.said, "");
    EXPECT_FALSE(check({"program", "--observer-name", "A"}).noGui);
    const SChecked unknown = check({"program", "--no-such-option"});
    EXPECT_FALSE(unknown.right);
    EXPECT_EQ(unknown.said, "Unknown option --no-such-option\n");
    EXPECT_FALSE(check({"program", "--object-name"}).right) << "the value is missing";
    EXPECT_EQ(check({"program", "--object-name", "4", "Vesta"}).said, "Unexpected argument Vesta\n");
}
