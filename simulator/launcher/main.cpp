// obri-simcam: runs a program with a simulated camera.
#include "../Options.h"
#include "../SceneText.h"
#include "AnsweringLibrary.h"
#include "Launcher.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr int sUsageError = 2;

int usage()
{
    printf("Usage: obri-simcam [options] -- PROGRAM [arguments]\n\n"
           "Runs PROGRAM with a simulated camera on the bus, below the real libudev and libv4l2.\n"
           "Ends with PROGRAM's exit status; 128 + N when signal N ended it.\n\n%s",
           obrisim::optionHelp().c_str());
    return 0;
}

constexpr const char* sMockLibrary = "libumockdev-preload.so.0";

bool isInMockedEnvironment()
{
    // Not loaded anew: a handle comes back only when the library is there already.
    return dlopen(sMockLibrary, RTLD_LAZY | RTLD_NOLOAD) != nullptr;
}

/// Replaces this process by itself, loaded together with umockdev's library: the devices of a mocked
/// bus can only be announced and removed by a process that sees that bus itself.
[[noreturn]] void enterMockedEnvironment(char** argv)
{
    constexpr const char* triedVariable = "OBRI_SIMCAM_TRIED";
    if (getenv(triedVariable))
        throw std::runtime_error(std::string(sMockLibrary) + " cannot be loaded; is umockdev installed?");
    const char* others = getenv("LD_PRELOAD");
    setenv("LD_PRELOAD", (sMockLibrary + std::string(others && *others ? ":" : "") + (others ? others : "")).c_str(),
           1);
    setenv(triedVariable, "1", 1);
    execv(obrisim::ownExecutable().c_str(), argv);
    throw std::runtime_error("cannot be started again inside the mocked environment");
}

/// Files named here are opened in the program's process, which may have gone elsewhere by then.
void makeAbsolute(std::vector<std::string>& arguments)
{
    for (const std::string name : {"--scene", "--command-log", "--frame-log", "--keep-frames"})
        for (size_t i = 0; i < arguments.size(); ++i) {
            if (arguments[i].starts_with(name + "="))
                arguments[i] = name + "=" + std::filesystem::absolute(arguments[i].substr(name.size() + 1)).string();
            else if (arguments[i] == name && i + 1 < arguments.size())
                arguments[i + 1] = std::filesystem::absolute(arguments[i + 1]).string();
        }
}

/// Logs of an earlier run go; a path that cannot be written is told here, not in the middle of a run.
void startLogs(const obrisim::SOptions& options)
{
    for (const std::string& path : {options.commandLog, options.frameLog})
        if (!path.empty() && !std::unique_ptr<FILE, int (*)(FILE*)>(fopen(path.c_str(), "w"), fclose))
            throw std::runtime_error(path + ": cannot be written");
    if (!options.keepFrames.empty())
        std::filesystem::create_directories(options.keepFrames);
}

int run(int argc, char** argv)
{
    char** const end =
        std::find_if(argv + 1, argv + argc, [](const char* text) { return std::string_view(text) == "--"; });
    std::vector<std::string> arguments(argv + 1, end);
    makeAbsolute(arguments);
    const obrisim::SOptions options = obrisim::parseOptions(arguments);
    if (options.help)
        return usage();
    if (options.printScene) {
        fputs(obrisim::sceneText(options).c_str(), stdout);
        return 0;
    }
    if (argv + argc - end < 2)
        throw std::invalid_argument("no program to run: obri-simcam [options] -- PROGRAM [arguments]");
    if (!isInMockedEnvironment())
        enterMockedEnvironment(argv);
    if (!options.scene.empty())
        obrisim::makeSkyFromFits(options.scene);
    startLogs(options);
    return obrisim::Launcher(options, arguments).run(end + 1);
}

} // namespace

int main(int argc, char** argv)
try {
    return run(argc, argv);
} catch (const std::exception& error) {
    fprintf(stderr, "obri-simcam: %s\n", error.what());
    return sUsageError;
}
