#include "WindowTest.h"

#include "FrameProcessor.h"
#include "StreamStatus.h"

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

WindowTest::WindowTest() : camera(sCamera), m_functions(functionTable())
{
    camera = {};
    updateStreamStatus([](SStreamStatus& status) { status = {}; });
    m_ownHistogram = std::make_unique<libobribase::Histogram>();
    m_programsHistogram = std::exchange(m_histogram, m_ownHistogram.get());
    window = std::make_unique<MainWindow>(&m_functions);
    Glib::RefPtr<Gtk::Application>::cast_dynamic(Gio::Application::get_default())->add_window(*window);
    window->present();
    waitUntil([&] { return window->get_mapped(); });
    letPass(0.1);
}

WindowTest::~WindowTest()
{
    window.reset();
    m_histogram = m_programsHistogram;
}

SUiFunctions WindowTest::functionTable()
{
    SUiFunctions table{};
    table.startStreaming = [] { note("startStreaming"); };
    table.stopStreaming = [] { note("stopStreaming"); };
    table.startRecordingAdv = [] { note("startRecordingAdv"); };
    table.startRecordingFits = [] { note("startRecordingFits"); };
    table.stopRecording = [] { note("stopRecording"); };
    table.startRecordingSingleFits = [](int value) { note("startRecordingSingleFits", value); };
    table.setResolution = [](int width, int height) { note("setResolution", width, height); };
    table.setExposureTime = [](int value) { note("setExposureTime", value); };
    table.setGain = [](int value) { note("setGain", value); };
    table.setHighGainMode = [](int value) { note("setHighGainMode", value); };
    table.setBlackLevel = [](int value) { note("setBlackLevel", value); };
    table.setInvertMode = [](int value) { note("setInvertMode", value); };
    table.setFpnMode = [](int value) { note("setFpnMode", value); };
    table.setFlipMode = [](int value) { note("setFlipMode", value); };
    table.setShowPcTime = [](int value) { note("setShowPcTime", value); };
    table.setOverlayMode = [](int value) { note("setOverlayMode", value); };
    table.getIsStreaming = [] { return sCamera.streaming; };
    table.getIsRecording = [] { return sCamera.recording; };
    return table;
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

void WindowTest::sendPointer(Gtk::Widget& widget, GdkEventType type, double x, double y, guint detail)
{
    GdkEvent* event = gdk_event_new(type);
    event->any.window = GDK_WINDOW(g_object_ref(widget.get_window()->gobj()));
    if (type == GDK_MOTION_NOTIFY) {
        event->motion.x = x;
        event->motion.y = y;
        event->motion.state = detail;
    } else {
        event->button.x = x;
        event->button.y = y;
        event->button.button = detail;
    }
    gdk_event_set_device(event, gdk_seat_get_pointer(gdk_display_get_default_seat(gdk_display_get_default())));
    gtk_main_do_event(event);
    gdk_event_free(event);
}

void WindowTest::typeKey(Gtk::Widget& widget, guint key, GdkModifierType modifiers)
{
    GdkEvent* event = gdk_event_new(GDK_KEY_PRESS);
    event->key.window = GDK_WINDOW(g_object_ref(window->get_window()->gobj()));
    event->key.keyval = key;
    event->key.state = modifiers;
    gtk_widget_event(widget.gobj(), event);
    gdk_event_free(event);
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
