#pragma once

#include "RecordingRate.h"
#include "StatusViewTexts.h"
#include "StreamStatus.h"

#include <chrono>
#include <gtkmm/box.h>
#include <gtkmm/builder.h>
#include <gtkmm/label.h>

/// Tells in the window how camera and recording are doing. Main thread.
class StatusView {
public:
    /// Takes its labels from the window's description; one that is missing ends the process.
    explicit StatusView(const Glib::RefPtr<Gtk::Builder>& builder);

    /// Shows a status, and what the disk has to say about it.
    void show(SStreamStatus status);

private:
    void showRecording(const SStreamStatus& status);
    void showWarning(const SStreamStatus& status, const SDiskRoom& room);

    Gtk::Label* m_camera;
    Gtk::Label* m_gps;
    Gtk::Label* m_counters;
    Gtk::Label* m_recording;
    Gtk::Label* m_warning;
    Gtk::Box* m_recordingRow;
    bool m_wasRecording = false;
    RecordingRate m_rate;
    uint64_t m_troublesSeen = 0; // the latest is shown for a while
    std::chrono::steady_clock::time_point m_troubleUntil;
};
