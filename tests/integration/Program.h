#pragma once

#include "Desktop.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

using Seconds = std::chrono::duration<double>;

/// How long to wait for what surely comes: a faulty program alone makes anybody wait so long.
constexpr Seconds sPatience(60);

/// Waits until the condition holds; false when the deadline passes first.
bool waitFor(const std::function<bool()>& condition, Seconds deadline = sPatience);

/// The whole text of a file; empty when there is none.
std::string contentsOf(const std::filesystem::path& path);

/// The lines of a text; what stands behind the last line end may still be in the writing, and is left out.
std::vector<std::string> linesOf(const std::string& text);

/// One run of the shipped program with the simulated camera, in a folder of its own, used as an observer uses it:
/// window actions over the session bus, key events, signals. Everything it wrote can be read while it runs.
class Program {
public:
    struct SOptions {
        std::vector<std::string> simulator = {}; ///< options of obri-simcam
        std::vector<std::string> arguments = {}; ///< options of obri-camctl
        std::vector<std::pair<std::string, std::string>> environment = {};
        bool withDisplay = true;
        /// Called with the program's folder before the program starts.
        std::function<void(const std::filesystem::path&)> prepare = {};
    };

    explicit Program(const SOptions& options);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// The folder the program runs in; removed with the object.
    const std::filesystem::path& folder() const { return m_folder; }
    std::string standardOutput() const { return contentsOf(m_folder / "stdout.txt"); }
    std::string standardError() const { return contentsOf(m_folder / "stderr.txt"); }
    /// What it said on standard error and, after its end, the status it left: for a failed check's message.
    std::string lastWords() const;
    /// The application's log of the day.
    std::string log() const;
    /// Camera commands as the camera got them: "69 03 e8 00 00", oldest first.
    std::vector<std::string> cameraCommands() const;
    /// Lines of the simulated camera's frame log, comments left out.
    std::vector<std::string> frameLog() const;

    /// Waits until the window's actions are on the bus.
    bool waitForWindow();
    /// Frames that the camera has sent so far.
    size_t framesSent() const;
    /// Waits until the camera has sent so many more; each one has its own deadline.
    bool waitForMoreFrames(size_t count);
    /// Calls a window action as the menu does.
    void activate(const std::string& action);
    bool isEnabled(const std::string& action) const;
    bool waitUntilEnabled(const std::string& action) const
    {
        return waitFor([&] { return isEnabled(action); });
    }
    /// Sends keys to the window: "ctrl+q", "Tab".
    void key(const std::string& keys) { use("key --delay 30 " + keys); }
    /// Asks the window to close, as a window manager does.
    void closeWindow();
    /// Focuses a combo box by its mnemonic ("alt+e") and walks to a row.
    void selectRow(const std::string& mnemonic, int row);
    /// Types text into the focused control.
    void type(const std::string& text) { use("type --delay 30 " + text); }
    /// Presses the primary button at a point of the window and lets it go after a move.
    void drag(int x, int y, int dx, int dy);

    void signal(int number);
    bool hasEnded() const;
    /// Waits for the end; false when it does not come in time (the program is then killed).
    bool waitForEnd(Seconds deadline = sPatience);
    /// Exit status after the end, 128 + signal number when a signal ended it.
    int exitStatus() const;
    /// The program's own process (not the simulator's).
    int processId() const;

private:
    unsigned long windowId();
    /// Gives the window the focus and xdotool what to do with it.
    void use(const std::string& words);

    std::filesystem::path m_folder;
    unsigned long m_windowId = 0; ///< 0: not looked for yet
    int m_process = 0;            ///< the simulator
    mutable bool m_hasEnded = false;
    mutable int m_status = 0;
};
