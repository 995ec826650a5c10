#include "Ending.h"
#include "FrameProcessor.h"
#include "HistogramView.h"
#include "MainWindow.h"
#include "ObriCam.h"
#include "RenderPreview.h"
#include "SharedFlag.h"
#include "StatusView.h"
#include "streaming.h"
#include "SUiFunctions.h"
#include "TextFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtkmm/application.h>
#include <gtkmm/stylecontext.h>

using libobribase::loadShared;
using libobribase::storeShared;

namespace {

constexpr int sTicksPerStatus = 4; // of the timer: about once a second

struct SSize {
    int width, height;
};
constexpr SSize sSizes[] = {{1624, 1240}, {1624, 128}, {176, 128}, {816, 620}, {408, 310}}; // as the box lists them

/// Calls the setter with the entry's number when that lies in the range, and marks the entry when it does not.
void sendNumber(Gtk::Entry* entry, int lowest, int highest, void (*setter)(int))
{
    const Glib::ustring text = entry->get_text();
    char* end = nullptr;
    const long value = strtol(text.c_str(), &end, 10); // as "%d" reads it: letters behind the digits do not matter
    if (end != text.c_str() && value >= lowest && value <= highest) {
        entry->get_style_context()->remove_class("error");
        setter(static_cast<int>(value));
    } else {
        entry->get_style_context()->add_class("error");
    }
}

} // namespace

void MainWindow::renderPreviewFrame(unsigned int* pixels, int width, int height)
{
    if (renderPreview)
        renderPreview->renderFrame(pixels, width, height);
}

void MainWindow::invalidateHistogram()
{
    // GTK must not be called off the main thread, and one wake-up in the pipe is enough.
    if (!m_histogramStale.exchange(true))
        m_histogramDispatcher.emit();
}

void MainWindow::enableControls()
{
    const bool streaming = functions->getIsStreaming() != 0, recording = functions->getIsRecording() != 0;
    startStreamingAction->set_enabled(!streaming);
    stopStreamingAction->set_enabled(streaming);
    startRecordingAdvAction->set_enabled(streaming && !recording);
    startRecordingFitsAction->set_enabled(streaming && !recording);
    stopRecordingAction->set_enabled(streaming && recording);
    holdOffSuspend(recording);
}

/// Asks the desktop to stay awake while a recording runs.
void MainWindow::holdOffSuspend(bool recording)
{
    if (recording == m_holdsOffSuspend)
        return;
    m_holdsOffSuspend = recording;
    const auto app = Glib::RefPtr<Gtk::Application>::cast_dynamic(Gio::Application::get_default());
    if (!app)
        return;
    if (recording) {
        m_inhibitCookie = app->inhibit(
            *this, Gtk::APPLICATION_INHIBIT_SUSPEND | Gtk::APPLICATION_INHIBIT_IDLE | Gtk::APPLICATION_INHIBIT_LOGOUT,
            "Recording from the camera");
    } else if (m_inhibitCookie) { // 0: nobody on this desktop could be asked
        app->uninhibit(m_inhibitCookie);
        m_inhibitCookie = 0;
    }
}

bool MainWindow::onTimer()
{
    enableControls(); // streaming and recording also end by themselves
    showResolutionInForce();
    if (m_timerTicks++ % sTicksPerStatus == 0)
        m_statusView->show(readStreamStatus());
    return true;
}

/// Lets the box follow the camera, which the streaming thread sets up by itself.
///
/// What counts is the size that was chosen last, not that of the latest frame: frames of the old size still come for
/// a while, and must not take back what the user has just chosen.
void MainWindow::showResolutionInForce()
{
    const int width = loadShared(obriCam().w), height = loadShared(obriCam().h);
    const auto inForce = std::find_if(std::begin(sSizes), std::end(sSizes),
                                      [&](const SSize& size) { return size.width == width && size.height == height; });
    const auto row = static_cast<int>(inForce - std::begin(sSizes));
    if (inForce == std::end(sSizes) || row == cmbResolution->get_active_row_number())
        return;
    m_resolutionConnection.block(); // it must not send what is already in force
    cmbResolution->set_active(row);
    m_resolutionConnection.unblock();
}

void MainWindow::onQuit()
{
    puts("Quit requested");
    endProcess(0);
}

void MainWindow::onStartStreaming()
{
    puts("Start streaming requested");
    if (functions->getIsStreaming() == 0)
        functions->startStreaming();
    enableControls();
}

void MainWindow::onStopStreaming()
{
    puts("Stop streaming requested");
    if (functions->getIsStreaming() != 0)
        functions->stopStreaming();
    enableControls();
}

void MainWindow::onStartRecordingAdv()
{
    puts("Start recording ADV requested");
    functions->startRecordingAdv();
    enableControls();
    m_statusView->show(readStreamStatus());
}

void MainWindow::onStartRecordingFits()
{
    puts("Start recording FITS requested");
    functions->startRecordingFits();
    enableControls();
    m_statusView->show(readStreamStatus());
}

void MainWindow::onStopRecording()
{
    puts("Stop recording requested");
    functions->stopRecording();
    enableControls();
    m_statusView->show(readStreamStatus());
}

void MainWindow::onSingleFitsLight()
{
    puts("Single FITS light requested");
    functions->startRecordingSingleFits(0);
}

void MainWindow::onSingleFitsDark()
{
    puts("Single FITS dark requested");
    functions->startRecordingSingleFits('D');
}

void MainWindow::onSingleFitsFlat()
{
    puts("Single FITS flat requested");
    functions->startRecordingSingleFits('F');
}

void MainWindow::onUpdateFirmware()
{
    puts("Update firmware requested");
}

void MainWindow::onStartRecordingSer()
{
    puts("Start recording SER requested");
}

void MainWindow::onRecordWithOptions()
{
    puts("Record with options requested");
}

void MainWindow::onCmbResolutionChanged()
{
    const auto row = static_cast<size_t>(cmbResolution->get_active_row_number()); // none: beyond the table
    const SSize& size = sSizes[row < std::size(sSizes) ? row : 0];
    functions->setResolution(size.width, size.height);
}

void MainWindow::onEdtExposureTimeChanged()
{
    sendNumber(edtExpTime, 1, 4999, functions->setExposureTime);
}

void MainWindow::onEdtBlackLevelChanged()
{
    sendNumber(edtBlackLevel, 0, 65534, functions->setBlackLevel);
}

void MainWindow::onBtnInvertToggled()
{
    functions->setInvertMode(btnInvert->get_active());
    m_histogram->SetInvertedMode(btnInvert->get_active());
    histogramChanged();
}

void MainWindow::onCmbPreviewAspectRatioChanged()
{
    const int row = cmbPreviewAspectRatio->get_active_row_number();
    printf("onCmbPreviewAspectRatioChanged ix=%d\n", row);
    cmbPreviewZoomFactor->set_active(row == ASPECT_RATIO_ASPECT_SCALE ? 1 : 0);
    renderPreview->setAspectRatio(static_cast<EAspectRatio>(row), getPreviewZoomFactor());
}

void MainWindow::onCmbPreviewZoomFactorChanged()
{
    const int zoom = getPreviewZoomFactor();
    printf("onCmbPreviewZoomFactorChanged zoomFactor=%d\n", zoom);
    renderPreview->setAspectRatio(ASPECT_RATIO_NO_CHANGE, zoom);
}

int MainWindow::getPreviewZoomFactor()
{
    return atoi(cmbPreviewZoomFactor->get_active_text().c_str()); // stops at the percent sign
}

void MainWindow::onHistoButtonPressed(Gtk::Button* button)
{
    double percent = 0;
    if (!libobribase::parseDouble(button->get_label().raw(), &percent))
        return;
    m_histogram->SetHistoBounds(percent);
    histogramChanged();
}

void MainWindow::onHistoDragBeginL(double x, double y)
{
    start_x = x;
    start_y = y;
    histoDragOngoing = m_histogram->OnMouseClick(static_cast<int>(x), static_cast<int>(y), 0);
    histogramChanged();
}

void MainWindow::onHistoDragBeginR(double x, double y)
{
    m_histogram->OnMouseClick(static_cast<int>(x), static_cast<int>(y), 1);
    histogramChanged();
}

void MainWindow::onHistoDragUpdate(double dx, double dy)
{
    if (!histoDragOngoing)
        return;
    m_histogram->OnContinueDrag(static_cast<int>(start_x + dx), static_cast<int>(start_y + dy));
    histogramChanged();
}

void MainWindow::onHistoDragEnd(double, double)
{
    if (!histoDragOngoing)
        return;
    m_histogram->OnReleaseDrag();
    histogramChanged();
}

void MainWindow::histogramChanged()
{
    storeShared(m_updateHistogram, 1);
    invalidateHistogram();
}

bool MainWindow::onDrawHistogram(const Cairo::RefPtr<Cairo::Context>& cr)
{
    const bool recompute = loadShared(m_updateHistogram) != 0;
    if (recompute) // and before the bins are copied: so no newer ones can lose their mark
        storeShared(m_updateHistogram, 0);
    m_histogramView->draw(cr, recompute);
    return true;
}
