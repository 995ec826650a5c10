#pragma once

#include <atomic>
#include <glibmm/dispatcher.h>
#include <gtkmm/applicationwindow.h>
#include <gtkmm/box.h>
#include <gtkmm/builder.h>
#include <gtkmm/button.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/comboboxtext.h>
#include <gtkmm/drawingarea.h>
#include <gtkmm/entry.h>
#include <gtkmm/gesturedrag.h>
#include <gtkmm/glarea.h>
#include <memory>

class FrameProcessor;
class HistogramView;
class Pace;
class RenderPreview;
class StatusView;
struct SUiFunctions;

/// The program's only window: menu, toolbar, camera controls, histogram and live preview.
///
/// Every control calls one entry of the function table it was built with, or the preview, the
/// histogram model or the frame processor. Built once, after the frame processor and the histogram
/// model exist and with an application running; a missing resource or widget ends the process with
/// status 255. All of it belongs to the main thread but the two operations that say otherwise.
class MainWindow : public Gtk::ApplicationWindow {
public:
    /// @param uiFunctions  every entry set; kept, not owned, and must outlive the window.
    ///
    /// Sends the default camera settings before it returns.
    explicit MainWindow(SUiFunctions* uiFunctions);
    ~MainWindow() override;

    /// Hands a finished preview image on to the preview area.
    ///
    /// @param pixels  width * height words 0x00RRGGBB, rows without gaps; copied before the call returns.
    ///
    /// Never waits for the window. Streaming thread.
    void renderPreviewFrame(unsigned int* pixels, int width, int height);

    /// Marks the histogram as stale; the main loop redraws it soon. Any thread, never waits.
    void invalidateHistogram();

private:
    void prepareResources();
    void prepareActions();
    void prepareMenuBarAndToolbar();
    void prepareContent();
    void prepareResolution();
    void prepareExposureAndGain();
    void prepareImageProcessing();
    void prepareOverlay();
    void preparePreviewSettings();
    void prepareHistogram();
    void preparePreview();
    void prepareStyling();
    void prepareTimer();
    void fitIntoMonitor();
    void enableControls();
    void setDefaultCameraConfiguration();
    int getPreviewZoomFactor();
    Gtk::Button* findButton(const Glib::ustring& id);
    Gtk::CheckButton* findCheckButton(const Glib::ustring& id);

    void onQuit();
    void onStartStreaming();
    void onStopStreaming();
    void onUpdateFirmware();
    void onStartRecordingSer();
    void onStartRecordingAdv();
    void onStartRecordingFits();
    void onRecordWithOptions();
    void onStopRecording();
    void onSingleFitsLight();
    void onSingleFitsDark();
    void onSingleFitsFlat();

    void onCmbResolutionChanged();
    void onEdtExposureTimeChanged();
    void onEdtBlackLevelChanged();
    void onBtnInvertToggled();
    void onCmbPreviewAspectRatioChanged();
    void onCmbPreviewZoomFactorChanged();
    void onHistoButtonPressed(Gtk::Button* button);
    void onHistoDragBeginL(double x, double y);
    void onHistoDragBeginR(double x, double y);
    void onHistoDragUpdate(double dx, double dy);
    void onHistoDragEnd(double dx, double dy);
    bool onDrawHistogram(const Cairo::RefPtr<Cairo::Context>& cr);
    bool onTimer();
    void histogramChanged();
    void showResolutionInForce();
    void holdOffSuspend(bool recording);

    SUiFunctions* functions;
    Gtk::Box* content = nullptr;
    Gtk::VBox* mainVbox = nullptr;
    Gtk::ComboBoxText* cmbResolution = nullptr;
    Gtk::ComboBoxText* cmbGain = nullptr;
    Gtk::ComboBoxText* cmbFlip = nullptr;
    Gtk::ComboBoxText* cmbOverlay = nullptr;
    Gtk::ComboBoxText* cmbPreviewAspectRatio = nullptr;
    Gtk::ComboBoxText* cmbPreviewZoomFactor = nullptr;
    Gtk::Entry* edtExpTime = nullptr;
    Gtk::Entry* edtBlackLevel = nullptr;
    Gtk::CheckButton* btnHighGain = nullptr;
    Gtk::CheckButton* btnNoiseReduction = nullptr;
    Gtk::CheckButton* btnInvert = nullptr;
    Gtk::CheckButton* btnPcTime = nullptr;
    Gtk::CheckButton* btnPreviewCrosshairs = nullptr;
    Gtk::CheckButton* btnPreviewOverflow = nullptr;
    Gtk::Button* btnHisto100 = nullptr;
    Gtk::Button* btnHisto999 = nullptr;
    Gtk::Button* btnHisto99 = nullptr;
    Gtk::Button* btnHisto95 = nullptr;
    Gtk::DrawingArea* drawingAreaHistogram = nullptr;
    Glib::RefPtr<Gtk::GestureDrag> gestureLeftHistogram;
    Glib::RefPtr<Gtk::GestureDrag> gestureRightHistogram;
    Gtk::GLArea* glArea = nullptr;
    Glib::RefPtr<Gio::SimpleAction> startStreamingAction;
    Glib::RefPtr<Gio::SimpleAction> stopStreamingAction;
    Glib::RefPtr<Gio::SimpleAction> startRecordingAdvAction;
    Glib::RefPtr<Gio::SimpleAction> startRecordingFitsAction;
    Glib::RefPtr<Gio::SimpleAction> stopRecordingAction;
    double start_x = 0, start_y = 0;
    int histoDragOngoing = 0;
    RenderPreview* renderPreview = nullptr;

    Glib::RefPtr<Gtk::Builder> m_builder; // of the content; only while prepareContent runs
    std::unique_ptr<HistogramView> m_histogramView;
    std::unique_ptr<StatusView> m_statusView;
    Glib::Dispatcher m_histogramDispatcher;
    std::unique_ptr<Pace> m_histogramPace;
    std::atomic<bool> m_histogramStale{false};
    sigc::connection m_resolutionConnection, m_timer;
    int m_timerTicks = 0;
    bool m_holdsOffSuspend = false;
    guint m_inhibitCookie = 0;
};
