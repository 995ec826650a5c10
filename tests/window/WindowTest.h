#pragma once

#include "Histogram.h"
#include "MainWindow.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtkmm/application.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Stands in for camera and recorders: notes every call as text, and is in whatever state a test puts it.
struct CameraFake {
    std::vector<std::string> calls;
    int streaming = 0, recording = 0;

    /// The calls since the last time, and forgets them.
    std::vector<std::string> take() { return std::exchange(calls, {}); }
};

/// The real window on a camera that only takes notes, with fingers and eyes.
class WindowTest : public testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    /// Runs the main loop until the condition holds; false when it did not within a minute.
    static bool waitUntil(const std::function<bool()>& condition);
    /// Runs the main loop for a while: what must not happen has had its chance.
    static void letPass(double seconds);

    template <class T>
    T& find(const std::string& id)
    {
        auto* widget = dynamic_cast<T*>(findBelow(window.get(), id));
        if (!widget)
            throw std::runtime_error("no such widget: " + id);
        return *widget;
    }

    /// What the screen shows of a widget, in its top left corner; words 0x00RRGGBB.
    std::vector<uint32_t> look(Gtk::Widget& widget, int width, int height);

    CameraFake& camera;
    std::unique_ptr<MainWindow> window;

private:
    static Gtk::Widget* findBelow(Gtk::Widget* widget, const std::string& id);

    libobribase::Histogram m_ownHistogram;
    libobribase::Histogram* m_programsHistogram;
};
