#include "Pace.h"

#include <chrono>
#include <glibmm/main.h>

namespace {

// Frames may come every millisecond, and where OpenGL is software each redraw costs the processor as much as ten
// small frames: time that the streaming thread would miss.
constexpr auto sInterval = std::chrono::milliseconds(33);

} // namespace

Pace::Pace(std::function<void()> action) : m_action(std::move(action)) {}

Pace::~Pace()
{
    m_timer.disconnect();
}

void Pace::ask()
{
    if (m_timer.connected())
        return;
    // On one grid for all: the window is drawn once for the histogram and the preview of a frame.
    const auto sinceTick = std::chrono::steady_clock::now().time_since_epoch() % sInterval;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(sInterval - sinceTick);
    m_timer = Glib::signal_timeout().connect(
        [this] {
            m_action();
            return false;
        },
        static_cast<unsigned>(left.count()));
}
