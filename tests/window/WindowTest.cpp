#include "WindowTest.h"

#include "FrameProcessor.h"
#include "StreamStatus.h"
#include "SUiFunctions.h"

#include <chrono>
#include <gdkmm/general.h>
#include <gdkmm/pixbuf.h>

using Clock = std::chrono::steady_clock;

namespace {

CameraFake sCamera;

/// Notes a call: its name, and what it was given.
template <class... T>
void note(const char* name, T... values)
{
    sCamera.calls.push_back((std::string(name) + ... + (' ' + std::to_string(values))));
}

SUiFunctions sFunctions{
    .startStreaming = [] { note("startStreaming"); },
    .stopStreaming = [] { note("stopStreaming"); },
    .startRecordingAdv = [] { note("startRecordingAdv"); },
    .startRecordingFits = [] { note("startRecordingFits"); },
    .stopRecording = [] { note("stopRecording"); },
    .startRecordingSingleFits = [](int value) { note("startRecordingSingleFits", value); },
    .setResolution = [](int width, int height) { note("setResolution", width, height); },
    .setExposureTime = [](int value) { note("setExposureTime", value); },
    .setGain = [](int value) { note("setGain", value); },
    .setHighGainMode = [](int value) { note("setHighGainMode", value); },
    .setBlackLevel = [](int value) { note("setBlackLevel", value); },
    .setInvertMode = [](int value) { note("setInvertMode", value); },
    .setFpnMode = [](int value) { note("setFpnMode", value); },
    .setFlipMode = [](int value) { note("setFlipMode", value); },
    .setShowPcTime = [](int value) { note("setShowPcTime", value); },
    .setOverlayMode = [](int value) { note("setOverlayMode", value); },
    .getIsStreaming = [] { return sCamera.streaming; },
    .getIsRecording = [] { return sCamera.recording; },
};

} // namespace

Gtk::Widget* WindowTest::findBelow(Gtk::Widget* widget, const std::string& id)
{
    const char* name = gtk_buildable_get_name(GTK_BUILDABLE(widget->gobj()));
    if (name && id == name)
        return widget;
    if (auto* container = dynamic_cast<Gtk::Container*>(widget))
        for (Gtk::Widget* child : container->get_children())
            if (Gtk::Widget* found = findBelow(child, id))
                return found;
    return nullptr;
}

WindowTest::WindowTest() : camera(sCamera), m_programsHistogram(std::exchange(m_histogram, &m_ownHistogram))
{
    camera = {};
    updateStreamStatus([](SStreamStatus& status) { status = {}; });
    window = std::make_unique<MainWindow>(&sFunctions);
    Glib::RefPtr<Gtk::Application>::cast_dynamic(Gio::Application::get_default())->add_window(*window);
    window->present();
    waitUntil([&] { return window->get_mapped(); });
    letPass(0.1);
    camera.take();
}

WindowTest::~WindowTest()
{
    window.reset();
    m_histogram = m_programsHistogram;
}

bool WindowTest::waitUntil(const std::function<bool()>& condition)
{
    const auto deadline = Clock::now() + std::chrono::seconds(60); // a faulty window alone takes so long
    while (!condition()) {
        if (Clock::now() > deadline)
            return false;
        if (!g_main_context_iteration(nullptr, FALSE))
            g_usleep(1000);
    }
    return true;
}

void WindowTest::letPass(double seconds)
{
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    waitUntil([&] { return Clock::now() > end; });
}

std::vector<uint32_t> WindowTest::look(Gtk::Widget& widget, int width, int height)
{
    int x = 0, y = 0;
    widget.translate_coordinates(*window, 0, 0, x, y);
    const auto picture = Gdk::Pixbuf::create(window->get_window(), x, y, width, height);
    std::vector<uint32_t> pixels;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const guint8* p =
                picture->get_pixels() + row * picture->get_rowstride() + column * picture->get_n_channels();
            pixels.push_back(static_cast<uint32_t>(p[0]) << 16 | static_cast<uint32_t>(p[1]) << 8 | p[2]);
        }
    return pixels;
}
