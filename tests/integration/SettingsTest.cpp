#include "Observing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Commands = std::vector<std::string>;

const Commands sStartCommands{"70 01 00 00 00", "69 00 64 00 00", "6e 18 00 00 00", "71 01 00 00 00", "68 00 64 00 00"};

/// One thing done at the keyboard, and all that the camera hears of it.
struct SStep {
    const char* name;
    std::function<void(Program&)> act;
    Commands commands;
};

void write(Program& program, const std::string& mnemonic, const std::string& number)
{
    program.key(mnemonic);
    program.key("ctrl+a");
    program.type(number);
}

/// Walks from the check box "Crosshairs" to a preset button and presses it.
void pressPreset(Program& program, int number)
{
    program.key("alt+s");
    for (int tab = 0; tab < 2 + number; ++tab)
        program.key("Tab");
    program.key("space");
}

/// A list is walked from its first row, and every row on the way is set; so is every number while it is typed.
const SStep sSteps[] = {
    {"exposure", [](Program& p) { write(p, "alt+x", "900"); }, {"69 00 09 00 00", "69 00 5a 00 00", "69 03 84 00 00"}},
    {"exposure out of range",
     [](Program& p) { write(p, "alt+x", "5000"); },
     {"69 00 05 00 00", "69 00 32 00 00", "69 01 f4 00 00"}},
    {"exposure, short again",
     [](Program& p) { write(p, "alt+x", "9ms"); },
     {"69 00 09 00 00", "69 00 09 00 00", "69 00 09 00 00"}},
    {"gain", [](Program& p) { p.selectRow("alt+g", 2); }, {"6e 00 00 00 00", "6e 01 00 00 00", "6e 02 00 00 00"}},
    {"last gain", [](Program& p) { p.key("End"); }, {"6e 30 00 00 00"}},
    {"high gain off", [](Program& p) { p.key("alt+h"); }, {"71 00 00 00 00"}},
    {"high gain on", [](Program& p) { p.key("alt+h"); }, {"71 01 00 00 00"}},
    {"black level",
     [](Program& p) { write(p, "alt+b", "258"); },
     {"68 00 02 00 00", "68 00 19 00 00", "68 01 02 00 00"}},
    {"noise reduction", [](Program& p) { p.key("alt+n"); }, {}},
    {"flip",
     [](Program& p) { p.selectRow("alt+l", 3); },
     {"6d 00 00 00 00", "6d 01 00 00 00", "6d 02 00 00 00", "6d 03 00 00 00"}},
    {"invert", [](Program& p) { p.key("alt+i"); }, {"6a 01 00 00 00"}},
    {"PC time", [](Program& p) { p.key("alt+p"); }, {}},
    {"overlay: none, dark, ascii",
     [](Program& p) { p.selectRow("alt+o", 2); },
     {"00 00 00 00 00", "01 01 00 00 00", "00 01 00 00 00", "01 01 00 00 00", "00 00 00 00 00", "01 00 00 00 00"}},
    {"aspect ratio", [](Program& p) { p.selectRow("alt+a", 2); }, {}},
    {"zoom", [](Program& p) { p.selectRow("alt+z", 4); }, {}},
    {"overflow", [](Program& p) { p.key("alt+v"); }, {}},
    {"a preset", [](Program& p) { pressPreset(p, 2); }, {}},
    {"positive again", [](Program& p) { p.key("alt+i"); }, {"6a 00 00 00 00"}},
};

/// The lines of standard output by which a setting is told, oldest first.
std::vector<std::string> settingsTold(const Program& program)
{
    auto lines = linesOf(program.standardOutput());
    std::erase_if(lines, [](const std::string& line) {
        return !line.starts_with("set") && !line.starts_with("onCmb") && line != "MainWindow constructor complete";
    });
    return lines;
}

} // namespace

// Fails when a control is bound to another setting, sends another value, or sends what concerns the preview alone.
TEST(Settings, EveryControlReachesTheCameraFromTheKeyboard)
{
    Program program({});
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("stopStreaming"));
    program.selectRow("alt+e", 2); // a small size leaves the computer to the keys
    Commands expected = sStartCommands;
    ASSERT_THAT(program.cameraCommands(), ElementsAreArray(expected)) << "the size is no command";
    for (const SStep& step : sSteps) {
        step.act(program);
        expected.insert(expected.end(), step.commands.begin(), step.commands.end());
        waitFor([&] { return program.cameraCommands().size() >= expected.size(); });
        ASSERT_THAT(program.cameraCommands(), ElementsAreArray(expected)) << step.name;
    }
    quit(program);
    const auto told = settingsTold(program);
    for (const char* line : {"setResolution: w=176, h=128", "setFpnMode: active=1", "setShowPcTime: active=1",
                             "onCmbPreviewAspectRatioChanged ix=2", "onCmbPreviewZoomFactorChanged zoomFactor=400"})
        EXPECT_THAT(told, testing::Contains(line));
}

// Fails when the window's defaults do not reach the camera, come in another order, or come after the stream's size.
TEST(Settings, DefaultsReachTheCameraInOrderAndControlRStartsTheStream)
{
    Program program({.simulator = {"--pace", "buffers"}});
    ASSERT_TRUE(program.waitForWindow());
    ASSERT_TRUE(program.waitUntilEnabled("stopStreaming"));
    EXPECT_THAT(program.cameraCommands(), ElementsAreArray(sStartCommands));
    program.activate("stopStreaming");
    ASSERT_TRUE(program.waitUntilEnabled("startStreaming"));
    program.key("ctrl+r");
    ASSERT_TRUE(program.waitUntilEnabled("stopStreaming"));
    EXPECT_TRUE(program.waitForMoreFrames(sFramesUntilProcessed));
    quit(program);
    EXPECT_THAT(settingsTold(program),
                ElementsAre("setObriMode: en=1", "setResolution: w=816, h=620", "setExposureTime: ms=100",
                            "setGain: dB=24", "setHighGain: active=1", "setBlackLevel: blackLevel=100",
                            "MainWindow constructor complete", "setResolution: w=1624, h=1240", "setObriMode: en=0"));
}
