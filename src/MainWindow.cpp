#include "MainWindow.h"

#include "FrameProcessor.h"
#include "HistogramView.h"
#include "MainWindowParts.h"
#include "MainWindowToolbar.h"
#include "Pace.h"
#include "RenderPreview.h"
#include "StatusView.h"
#include "SUiFunctions.h"
#include <algorithm>
#include <cstdio>
#include <gdkmm/monitor.h>
#include <gio/gio.h>
#include <giomm/menumodel.h>
#include <giomm/resource.h>
#include <gtkmm/application.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/menubar.h>
#include <gtkmm/stylecontext.h>

extern "C" { // generated as plain C
#include <obriresources.h>
}

namespace {

constexpr int sTimerMilliseconds = 250;

constexpr const char* sResolutions[] = {"1624 x 1240", "1624 x 128 (fast)", "176 x 128 (fast)", "816 x 620",
                                        "408 x 310"};
constexpr const char* sFlips[] = {"none", "X", "Y", "XY"};
constexpr const char* sOverlays[] = {"none", "dark", "ascii"};
constexpr const char* sAspectRatios[] = {"Scale to fit", "Aspect fit", "Aspect scale"};
constexpr const char* sZoomFactors[] = {"25%", "50%", "100%", "200%", "400%"};
constexpr int sLastGain = 48, sLastAnalogGain = 24; // decibels

template <size_t N>
void fill(Gtk::ComboBoxText* combo, const char* const (&entries)[N])
{
    for (const char* entry : entries)
        combo->append(entry);
}

} // namespace

MainWindow::MainWindow(SUiFunctions* uiFunctions) : functions(uiFunctions)
{
    mainVbox = Gtk::manage(new Gtk::VBox);
    prepareResources(); // first: every later step reads one
    prepareActions();
    prepareMenuBarAndToolbar();
    prepareContent();
    add(*mainVbox);
    prepareStyling();
    set_title("OBRI Cam Control - v0.3.0");
    set_icon_name("org.obricam.camctl");
    set_border_width(10);
    set_default_size(1200, 1000);
    fitIntoMonitor();
    enableControls();
    show_all();
    setDefaultCameraConfiguration(); // the handlers are connected, so this reaches the camera
    prepareTimer();
    puts("MainWindow constructor complete");
}

MainWindow::~MainWindow()
{
    m_timer.disconnect();
    holdOffSuspend(false);
    delete renderPreview; // while its area is alive
}

void MainWindow::prepareResources()
{
    obri_register_resource();
    if (!obri_get_resource())
        failConstruction("Resources not found.");
    try {
        Gio::Resource::enumerate_children_global(sResourcePrefix);
    } catch (const Glib::Error& error) {
        failConstruction("Resource enumeration failed: " + error.what());
    }
}

void MainWindow::prepareActions()
{
    struct SAction {
        const char* name;
        void (MainWindow::*handler)();
        Glib::RefPtr<Gio::SimpleAction> MainWindow::*kept; // null: always enabled
    };
    static constexpr SAction sActions[] = {
        {"quit", &MainWindow::onQuit, nullptr},
        {"startStreaming", &MainWindow::onStartStreaming, &MainWindow::startStreamingAction},
        {"stopStreaming", &MainWindow::onStopStreaming, &MainWindow::stopStreamingAction},
        {"updateFirmware", &MainWindow::onUpdateFirmware, nullptr},
        {"startRecordingSer", &MainWindow::onStartRecordingSer, nullptr},
        {"startRecordingAdv", &MainWindow::onStartRecordingAdv, &MainWindow::startRecordingAdvAction},
        {"startRecordingFits", &MainWindow::onStartRecordingFits, &MainWindow::startRecordingFitsAction},
        {"recordWithOptions", &MainWindow::onRecordWithOptions, nullptr},
        {"stopRecording", &MainWindow::onStopRecording, &MainWindow::stopRecordingAction},
        {"singleFitsLight", &MainWindow::onSingleFitsLight, nullptr},
        {"singleFitsDark", &MainWindow::onSingleFitsDark, nullptr},
        {"singleFitsFlat", &MainWindow::onSingleFitsFlat, nullptr},
    };
    for (const auto& [name, handler, kept] : sActions) {
        const auto action = add_action(name, sigc::mem_fun(*this, handler));
        if (kept)
            this->*kept = action;
    }
    if (const auto app = Glib::RefPtr<Gtk::Application>::cast_dynamic(Gio::Application::get_default())) {
        app->set_accel_for_action("win.quit", "<Primary>q");
        app->set_accel_for_action("win.startStreaming", "<Primary>r");
    }
}

void MainWindow::prepareMenuBarAndToolbar()
{
    const auto builder = buildFromResource("mainMenu.ui");
    const auto menu = Glib::RefPtr<Gio::MenuModel>::cast_dynamic(builder->get_object("menubar"));
    if (!menu)
        failConstruction("no menu bar");
    auto* menuBar = Gtk::manage(new Gtk::MenuBar(menu));
    menuBar->set_halign(Gtk::ALIGN_START);
    mainVbox->pack_start(*menuBar, Gtk::PACK_SHRINK);
    auto* toolbar = requireWidget<Gtk::Box>(builder, "toolbar", "no toolbar");
    toolbar->set_halign(Gtk::ALIGN_START);
    mainVbox->pack_start(*toolbar, Gtk::PACK_SHRINK);
    sharpenToolbarImages(*toolbar);
}

void MainWindow::prepareContent()
{
    m_builder = buildFromResource("mainWindow.ui");
    content = requireWidget<Gtk::Box>(m_builder, "content", "no content");
    mainVbox->pack_start(*content);
    prepareResolution();
    prepareExposureAndGain();
    prepareImageProcessing();
    prepareOverlay();
    preparePreviewSettings();
    prepareHistogram();
    preparePreview();
    m_statusView = std::make_unique<StatusView>(m_builder);
    m_builder.reset();
}

void MainWindow::prepareResolution()
{
    cmbResolution = requireWidget<Gtk::ComboBoxText>(m_builder, "cmbResolution", "no resolution combo box");
    fill(cmbResolution, sResolutions);
    m_resolutionConnection =
        cmbResolution->signal_changed().connect(sigc::mem_fun(*this, &MainWindow::onCmbResolutionChanged));
}

void MainWindow::prepareExposureAndGain()
{
    edtExpTime = requireWidget<Gtk::Entry>(m_builder, "edtExpTime", "no edtExpTime");
    edtExpTime->signal_changed().connect(sigc::mem_fun(*this, &MainWindow::onEdtExposureTimeChanged));
    cmbGain = requireWidget<Gtk::ComboBoxText>(m_builder, "cmbGain", "no gain combo box");
    for (int gain = 0; gain <= sLastGain; ++gain)
        cmbGain->append(std::to_string(gain) + (gain <= sLastAnalogGain ? " dB" : " dBD"));
    cmbGain->signal_changed().connect([this] { functions->setGain(cmbGain->get_active_row_number()); });
    btnHighGain = findCheckButton("btnHighGain");
    btnHighGain->signal_toggled().connect([this] { functions->setHighGainMode(btnHighGain->get_active()); });
    edtBlackLevel = requireWidget<Gtk::Entry>(m_builder, "edtBlackLevel", "no edtBlackLevel");
    edtBlackLevel->signal_changed().connect(sigc::mem_fun(*this, &MainWindow::onEdtBlackLevelChanged));
}

void MainWindow::prepareImageProcessing()
{
    cmbFlip = requireWidget<Gtk::ComboBoxText>(m_builder, "cmbFlip", "no flip combo box");
    fill(cmbFlip, sFlips);
    cmbFlip->signal_changed().connect([this] { functions->setFlipMode(cmbFlip->get_active_row_number()); });
    btnInvert = findCheckButton("btnInvert");
    btnInvert->signal_toggled().connect(sigc::mem_fun(*this, &MainWindow::onBtnInvertToggled));
    btnNoiseReduction = findCheckButton("btnNoiseReduction");
    btnNoiseReduction->signal_toggled().connect([this] { functions->setFpnMode(btnNoiseReduction->get_active()); });
}

void MainWindow::prepareOverlay()
{
    cmbOverlay = requireWidget<Gtk::ComboBoxText>(m_builder, "cmbOverlay", "no overlay combo box");
    fill(cmbOverlay, sOverlays);
    cmbOverlay->signal_changed().connect([this] { functions->setOverlayMode(cmbOverlay->get_active_row_number()); });
    btnPcTime = findCheckButton("btnPcTime");
    btnPcTime->signal_toggled().connect([this] { functions->setShowPcTime(btnPcTime->get_active()); });
}

void MainWindow::preparePreviewSettings()
{
    cmbPreviewAspectRatio =
        requireWidget<Gtk::ComboBoxText>(m_builder, "cmbPreviewAspectRatio", "no aspect ratio combo box");
    fill(cmbPreviewAspectRatio, sAspectRatios);
    cmbPreviewAspectRatio->set_active_text("Scale to fit");
    cmbPreviewAspectRatio->signal_changed().connect(sigc::mem_fun(*this, &MainWindow::onCmbPreviewAspectRatioChanged));
    cmbPreviewZoomFactor =
        requireWidget<Gtk::ComboBoxText>(m_builder, "cmbPreviewZoomFactor", "no zoom factor combo box");
    fill(cmbPreviewZoomFactor, sZoomFactors);
    cmbPreviewZoomFactor->set_active_text("100%");
    cmbPreviewZoomFactor->set_active(0); // 25%, on purpose: the row that goes with "Scale to fit"
    cmbPreviewZoomFactor->signal_changed().connect(sigc::mem_fun(*this, &MainWindow::onCmbPreviewZoomFactorChanged));
    btnPreviewCrosshairs = findCheckButton("btnPreviewCrosshairs"); // no handler, on purpose: the cross always shows
    btnPreviewOverflow = findCheckButton("btnPreviewOverflow");
    btnPreviewOverflow->signal_toggled().connect(
        [this] { m_frameProcessor->SetShowPixelOverflow(btnPreviewOverflow->get_active()); });
}

void MainWindow::prepareHistogram()
{
    struct SPreset {
        const char* id;
        Gtk::Button* MainWindow::*button;
    };
    static constexpr SPreset sPresets[] = {{"btnHisto100", &MainWindow::btnHisto100},
                                           {"btnHisto999", &MainWindow::btnHisto999},
                                           {"btnHisto99", &MainWindow::btnHisto99},
                                           {"btnHisto95", &MainWindow::btnHisto95}};
    for (const auto& [id, member] : sPresets) {
        Gtk::Button* button = this->*member = findButton(id);
        button->signal_clicked().connect([this, button] { onHistoButtonPressed(button); });
    }
    drawingAreaHistogram = requireWidget<Gtk::DrawingArea>(m_builder, "ctlHistogram", "no histogram drawing area");
    m_histogramView = std::make_unique<HistogramView>(drawingAreaHistogram, m_histogram);
    drawingAreaHistogram->signal_draw().connect(sigc::mem_fun(*this, &MainWindow::onDrawHistogram));
    m_histogramPace = std::make_unique<Pace>([this] {
        m_histogramStale.store(false); // before it is drawn: what comes from here on is news again
        drawingAreaHistogram->queue_draw();
    });
    m_histogramDispatcher.connect([this] { m_histogramPace->ask(); });
    gestureLeftHistogram = Gtk::GestureDrag::create(*drawingAreaHistogram);
    gestureLeftHistogram->set_button(GDK_BUTTON_PRIMARY);
    gestureLeftHistogram->signal_drag_begin().connect(sigc::mem_fun(*this, &MainWindow::onHistoDragBeginL));
    gestureLeftHistogram->signal_drag_update().connect(sigc::mem_fun(*this, &MainWindow::onHistoDragUpdate));
    gestureLeftHistogram->signal_drag_end().connect(sigc::mem_fun(*this, &MainWindow::onHistoDragEnd));
    gestureRightHistogram = Gtk::GestureDrag::create(*drawingAreaHistogram);
    gestureRightHistogram->set_button(GDK_BUTTON_SECONDARY);
    gestureRightHistogram->signal_drag_begin().connect(sigc::mem_fun(*this, &MainWindow::onHistoDragBeginR));
}

void MainWindow::preparePreview()
{
    glArea = requireWidget<Gtk::GLArea>(m_builder, "glDrawingArea", "no OpenGL area");
    renderPreview = new RenderPreview(glArea);
}

void MainWindow::prepareStyling()
{
    const auto provider = Gtk::CssProvider::create();
    try {
        provider->load_from_resource(std::string(sResourcePrefix) + "style.css");
    } catch (const Glib::Error& error) {
        failConstruction("Style sheet: " + error.what());
    }
    Gtk::StyleContext::add_provider_for_screen(Gdk::Screen::get_default(), provider,
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

/// The default size is made for a large screen; on a smaller one the window begins as large as fits.
void MainWindow::fitIntoMonitor()
{
    const auto display = Gdk::Display::get_default();
    auto monitor = display->get_primary_monitor();
    if (!monitor)
        monitor = display->get_monitor(0); // not every desktop has a primary one
    if (!monitor)
        return;
    Gdk::Rectangle area;
    monitor->get_workarea(area);
    int width = 0, height = 0;
    get_default_size(width, height);
    if (area.get_width() < width || area.get_height() < height)
        resize(std::min(width, area.get_width()), std::min(height, area.get_height()));
}

void MainWindow::prepareTimer()
{
    m_timer = Glib::signal_timeout().connect(sigc::mem_fun(*this, &MainWindow::onTimer), sTimerMilliseconds);
}

void MainWindow::setDefaultCameraConfiguration()
{
    cmbResolution->set_active_text("816 x 620");
    edtExpTime->set_text("100");
    cmbGain->set_active_text("24 dB");
    btnHighGain->set_active(true);
    edtBlackLevel->set_text("100");
}

Gtk::Button* MainWindow::findButton(const Glib::ustring& id)
{
    return requireWidget<Gtk::Button>(m_builder, id, "Can't find button '" + id + "' in ui.");
}

Gtk::CheckButton* MainWindow::findCheckButton(const Glib::ustring& id)
{
    return requireWidget<Gtk::CheckButton>(m_builder, id, "Can't find button '" + id + "' in ui.");
}
