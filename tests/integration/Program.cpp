#include "Program.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

constexpr int sBusTimeoutMs = 60'000; // of a busy machine; the window may stand still on purpose, too

/// Of a log of the simulated camera, but for comments.
std::vector<std::string> entriesOf(const std::filesystem::path& log)
{
    auto lines = linesOf(contentsOf(log));
    std::erase_if(lines, [](const std::string& line) { return line.empty() || line.front() == '#'; });
    return lines;
}

std::filesystem::path temporaryFolder()
{
    std::string pattern = std::filesystem::temp_directory_path() / "obri-camctl-test-XXXXXX";
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary folder");
    return pattern;
}

/// Where numbers have decimal commas, the clock is far from UTC, and nobody but us looks on.
GObjectHandle<GSubprocessLauncher> launcherFor(const Program::SOptions& options, const std::filesystem::path& folder)
{
    GObjectHandle<GSubprocessLauncher> launcher(g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_NONE));
    g_subprocess_launcher_set_cwd(launcher.get(), folder.c_str());
    g_subprocess_launcher_set_stdout_file_path(launcher.get(), (folder / "stdout.txt").c_str());
    g_subprocess_launcher_set_stderr_file_path(launcher.get(), (folder / "stderr.txt").c_str());
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"})
        g_subprocess_launcher_unsetenv(launcher.get(), name);
    const auto set = [&](const std::string& name, const std::string& value) {
        g_subprocess_launcher_setenv(launcher.get(), name.c_str(), value.c_str(), TRUE);
    };
    if (options.withDisplay)
        set("DISPLAY", Desktop::instance().display());
    set("DBUS_SESSION_BUS_ADDRESS", Desktop::instance().busAddress());
    set("NO_AT_BRIDGE", "1");
    set("LOCPATH", OBRI_LOCALES);
    set("LC_NUMERIC", "de_DE.UTF-8");
    set("TZ", "Pacific/Auckland");
    for (const auto& [name, value] : options.environment)
        set(name, value);
    return launcher;
}

using VariantHandle = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

/// Calls the program's window over the bus; null when there is no answer.
VariantHandle callWindow(const char* method, GVariant* arguments)
{
    GVariant* answer = g_dbus_connection_call_sync(
        Desktop::instance().bus(), "org.obricam.camctl", "/org/obricam/camctl/window/1", "org.gtk.Actions", method,
        arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, sBusTimeoutMs, nullptr, nullptr);
    return {answer, g_variant_unref};
}

/// Starts xdotool on the display of the tests.
GObjectHandle<GSubprocess> xdotool(GSubprocessFlags output, const std::vector<std::string>& words)
{
    const GObjectHandle<GSubprocessLauncher> launcher(g_subprocess_launcher_new(output));
    g_subprocess_launcher_setenv(launcher.get(), "DISPLAY", Desktop::instance().display().c_str(), TRUE);
    return spawn(launcher.get(), words);
}

} // namespace

bool waitFor(const std::function<bool()>& condition, Seconds deadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::string contentsOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    size_t begin = 0;
    for (size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.push_back(text.substr(begin, end - begin));
    return lines;
}

Program::Program(SOptions options) : m_folder(temporaryFolder())
{
    if (options.prepare)
        options.prepare(m_folder);
    std::vector<std::string> words{OBRI_SIMCAM, "--command-log", "commands.txt", "--frame-log", "frames.txt"};
    words.insert(words.end(), options.simulator.begin(), options.simulator.end());
    words.insert(words.end(), {"--", OBRI_CAMCTL});
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    m_process = spawn(launcherFor(options, m_folder).get(), words);
}

Program::~Program()
{
    if (!hasEnded()) {
        signal(SIGTERM);
        waitForEnd(Seconds(10));
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

std::string Program::log() const
{
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) // two when a run sees midnight
        if (entry.path().filename().string().starts_with("obri_app_log_"))
            text += contentsOf(entry.path());
    return text;
}

std::vector<std::string> Program::cameraCommands() const
{
    std::vector<std::string> commands;
    for (const std::string& line : entriesOf(m_folder / "commands.txt"))
        if (line.size() >= 14)
            commands.push_back(line.substr(line.size() - 14));
    return commands;
}

std::vector<std::string> Program::frameLog() const
{
    return entriesOf(m_folder / "frames.txt");
}

bool Program::waitForWindow()
{
    return waitFor([&] { return callWindow("List", nullptr) || hasEnded(); }) && !hasEnded();
}

size_t Program::framesSent() const
{
    size_t sent = 0;
    for (const std::string& line : frameLog())
        sent += line.find(" sent ") != std::string::npos;
    return sent;
}

bool Program::waitForMoreFrames(size_t count)
{
    const size_t enough = framesSent() + count;
    for (size_t sent = framesSent(); sent < enough; sent = framesSent())
        if (!waitFor([&] { return framesSent() > sent; }))
            return false;
    return true;
}

void Program::activate(const std::string& action)
{
    if (!callWindow("Activate", g_variant_new("(sava{sv})", action.c_str(), nullptr, nullptr)) &&
        action != "quit") // the answer to it may be the end of the connection
        throw std::runtime_error("no answer to " + action);
}

bool Program::isEnabled(const std::string& action) const
{
    const VariantHandle answer = callWindow("Describe", g_variant_new("(s)", action.c_str()));
    gboolean enabled = FALSE;
    if (answer)
        g_variant_get(answer.get(), "((bgav))", &enabled, nullptr, nullptr);
    return enabled;
}

bool Program::waitUntilEnabled(const std::string& action) const
{
    return waitFor([&] { return isEnabled(action); });
}

void Program::runXdotool(const std::vector<std::string>& words) const
{
    std::vector<std::string> all{"xdotool", "windowfocus", "--sync", std::to_string(windowId())};
    all.insert(all.end(), words.begin(), words.end());
    if (!g_subprocess_wait_check(xdotool(G_SUBPROCESS_FLAGS_STDOUT_SILENCE, all).get(), nullptr, nullptr))
        throw std::runtime_error("xdotool cannot " + words.front());
}

void Program::key(const std::string& keys)
{
    runXdotool({"key", "--delay", "30", keys});
}

unsigned long Program::windowId() const
{
    constexpr auto sOutput =
        static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_SILENCE);
    // The search trips over a tooltip or a list that vanishes while it looks at it.
    for (int attempt = 0; m_windowId == 0 && attempt < 20; ++attempt) {
        try {
            const auto search = xdotool(sOutput, {"xdotool", "search", "--onlyvisible", "--name", "OBRI Cam Control"});
            m_windowId = std::stoul(firstLineOf(search.get()));
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }
    if (m_windowId == 0)
        throw std::runtime_error("no window");
    return m_windowId;
}

void Program::closeWindow()
{
    Display* display = XOpenDisplay(Desktop::instance().display().c_str());
    if (!display)
        throw std::runtime_error("no display");
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = windowId();
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, event.xclient.window, False, NoEventMask, &event);
    XCloseDisplay(display);
}

void Program::selectRow(const std::string& mnemonic, int row)
{
    key(mnemonic);
    key("Home");
    for (int step = 0; step < row; ++step)
        key("Down");
}

void Program::type(const std::string& text)
{
    runXdotool({"type", "--delay", "30", text});
}

void Program::drag(int x, int y, int dx, int dy)
{
    const std::string window = std::to_string(windowId());
    runXdotool({"mousemove", "--window", window, std::to_string(x), std::to_string(y), "mousedown", "1",
                "mousemove_relative", "--", std::to_string(dx / 2), std::to_string(dy / 2), "mousemove_relative", "--",
                std::to_string(dx - dx / 2), std::to_string(dy - dy / 2), "mouseup", "1"});
}

void Program::signal(int number)
{
    if (const int program = processId(); program > 0)
        kill(program, number);
    else
        g_subprocess_send_signal(m_process.get(), number);
}

bool Program::hasEnded() const
{
    // The pid is known for as long as the process has not been reaped; the reaping is GLib's own.
    return g_subprocess_get_identifier(m_process.get()) == nullptr;
}

bool Program::waitForEnd(Seconds deadline)
{
    if (waitFor([this] { return hasEnded(); }, deadline))
        return true;
    signal(SIGKILL);
    g_subprocess_force_exit(m_process.get());
    return false;
}

int Program::exitStatus() const
{
    g_subprocess_wait(m_process.get(), nullptr, nullptr);
    const int status = g_subprocess_get_status(m_process.get());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int Program::processId() const
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::error_code none;
        if (std::filesystem::read_symlink(entry.path() / "cwd", none) == m_folder &&
            std::filesystem::read_symlink(entry.path() / "exe", none).filename() == "obri-camctl")
            return std::stoi(entry.path().filename());
    }
    return -1;
}
