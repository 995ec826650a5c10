#include "Program.h"

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#include <X11/Xlib.h>

#include <cstring>
#include <fstream>
#include <memory>
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

using VariantHandle = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

/// Calls the program's window over the bus; null when there is no answer.
VariantHandle callWindow(const char* method, GVariant* arguments)
{
    GVariant* answer = g_dbus_connection_call_sync(testBus(), "org.obricam.camctl", "/org/obricam/camctl/window/1",
                                                   "org.gtk.Actions", method, arguments, nullptr,
                                                   G_DBUS_CALL_FLAGS_NO_AUTO_START, sBusTimeoutMs, nullptr, nullptr);
    return {answer, g_variant_unref};
}

/// What xdotool prints, on the display of the tests. Throws when it fails.
std::string xdotool(const std::string& words)
{
    FILE* output = popen(("DISPLAY=" + testDisplay() + " xdotool " + words).c_str(), "re");
    std::string text;
    for (int c; (c = fgetc(output)) != EOF;)
        text += static_cast<char>(c);
    if (pclose(output) != 0)
        throw std::runtime_error("xdotool cannot " + words);
    return text;
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
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
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

Program::Program(const SOptions& options)
{
    std::string folder = std::filesystem::temp_directory_path() / "obri-camctl-test-XXXXXX";
    m_folder = mkdtemp(folder.data());
    testBus();
    if (options.prepare)
        options.prepare(m_folder);
    // Where numbers have decimal commas, the clock is far from UTC, and nobody but us looks on.
    std::string command = "cd " + folder +
                          " && exec env -u DISPLAY -u WAYLAND_DISPLAY NO_AT_BRIDGE=1 LC_NUMERIC=de_DE.UTF-8 "
                          "TZ=Pacific/Auckland </dev/null >stdout.txt 2>stderr.txt";
    std::vector<std::string> words{"LOCPATH=" OBRI_LOCALES};
    if (options.withDisplay)
        words.push_back("DISPLAY=" + testDisplay());
    for (const auto& [name, value] : options.environment)
        words.push_back(name + "=" + value);
    words.insert(words.end(), {OBRI_SIMCAM, "--command-log", "commands.txt", "--frame-log", "frames.txt"});
    words.insert(words.end(), options.simulator.begin(), options.simulator.end());
    words.insert(words.end(), {"--", OBRI_CAMCTL});
    words.insert(words.end(), options.arguments.begin(), options.arguments.end());
    for (const std::string& word : words)
        command += " '" + word + "'";
    const char* const shell[] = {"sh", "-c", command.c_str(), nullptr};
    if (posix_spawnp(&m_process, shell[0], nullptr, nullptr, const_cast<char**>(shell), environ) != 0)
        throw std::runtime_error("cannot start " + command);
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

std::string Program::lastWords() const
{
    return standardError() + (hasEnded() ? "ended with status " + std::to_string(exitStatus()) : "");
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
    auto commands = entriesOf(m_folder / "commands.txt");
    for (std::string& line : commands)
        line.erase(0, line.size() - strlen("69 03 e8 00 00"));
    return commands;
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

std::vector<std::string> Program::frameLog() const
{
    return entriesOf(m_folder / "frames.txt");
}

unsigned long Program::windowId()
{
    // The search trips over a tooltip or a list that vanishes while it looks at it.
    for (int attempt = 0; m_windowId == 0 && attempt < 20; ++attempt)
        try {
            m_windowId = std::stoul(xdotool("search --onlyvisible --name 'OBRI Cam Control' 2>/dev/null"));
        } catch (const std::exception&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    if (m_windowId == 0)
        throw std::runtime_error("no window");
    return m_windowId;
}

void Program::use(const std::string& words)
{
    xdotool("windowfocus --sync " + std::to_string(windowId()) + " " + words);
}

void Program::closeWindow()
{
    Display* display = XOpenDisplay(testDisplay().c_str());
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = windowId();
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
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

void Program::drag(int x, int y, int dx, int dy)
{
    const auto pair = [](int a, int b) { return std::to_string(a) + " " + std::to_string(b) + " "; };
    use("mousemove --window " + std::to_string(windowId()) + " " + pair(x, y) + "mousedown 1 mousemove_relative -- " +
        pair(dx / 2, dy / 2) + "mousemove_relative -- " + pair(dx - dx / 2, dy - dy / 2) + "mouseup 1");
}

void Program::signal(int number)
{
    const int program = processId();
    kill(program > 0 ? program : m_process, number);
}

bool Program::hasEnded() const
{
    if (!m_hasEnded)
        m_hasEnded = waitpid(m_process, &m_status, WNOHANG) == m_process;
    return m_hasEnded;
}

bool Program::waitForEnd(Seconds deadline)
{
    if (waitFor([this] { return hasEnded(); }, deadline))
        return true;
    signal(SIGKILL);
    kill(m_process, SIGKILL);
    return false;
}

int Program::exitStatus() const
{
    return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
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
