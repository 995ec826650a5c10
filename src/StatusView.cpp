#include "StatusView.h"

#include "MainWindowParts.h"
#include <gtkmm/stylecontext.h>

namespace {

constexpr auto sTroubleShown = std::chrono::minutes(1); // long enough to be read, short enough to stay believed

/// Only a text that differs costs a layout.
void setText(Gtk::Label* label, const std::string& text)
{
    if (label->get_text().raw() == text)
        return;
    label->set_text(text);
    if (label->get_ellipsize() != Pango::ELLIPSIZE_NONE)
        label->set_tooltip_text(text); // whole, where the label may be cut short
}

} // namespace

StatusView::StatusView(const Glib::RefPtr<Gtk::Builder>& builder)
    : m_camera(requireWidget<Gtk::Label>(builder, "lblCamera", "no camera label")),
      m_gps(requireWidget<Gtk::Label>(builder, "lblStatus", "no status label")),
      m_counters(requireWidget<Gtk::Label>(builder, "lblErrorCounter", "no error counter label")),
      m_recording(requireWidget<Gtk::Label>(builder, "lblRecording", "no recording label")),
      m_warning(requireWidget<Gtk::Label>(builder, "lblWarning", "no warning label")),
      m_recordingRow(requireWidget<Gtk::Box>(builder, "recordingRow", "no recording row"))
{
}

void StatusView::show(SStreamStatus status)
{
    status.recording.bytesPerSecond = m_rate.at(status.recording);
    setText(m_camera, cameraText(status));
    setText(m_gps, gpsText(status));
    setText(m_counters, countersText(status));
    showRecording(status);
}

void StatusView::showRecording(const SStreamStatus& status)
{
    const SRecordingStatus& recording = status.recording;
    const SDiskRoom room = readDiskRoom(".");
    setText(m_recording, recording.active ? "● REC  " + recordingText(recording, room) : "Not recording");
    showWarning(status, room);
    if (recording.active == m_wasRecording)
        return;
    if (recording.active)
        m_recordingRow->get_style_context()->add_class("recording");
    else
        m_recordingRow->get_style_context()->remove_class("recording");
    m_wasRecording = recording.active;
}

void StatusView::showWarning(const SStreamStatus& status, const SDiskRoom& room)
{
    const auto now = std::chrono::steady_clock::now();
    if (status.troublesSoFar != m_troublesSeen) {
        m_troublesSeen = status.troublesSoFar;
        m_troubleUntil = now + sTroubleShown;
    }
    std::string text = warningText(status, room);
    if (now < m_troubleUntil)
        text = status.lastTrouble + (text.empty() ? "" : "; ") + text;
    setText(m_warning, text);
    m_warning->set_visible(!text.empty());
}
