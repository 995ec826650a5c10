#include "ObriApplication.h"

#include "camera_control.h"
#include "CommandLine.h"
#include "Ending.h"
#include "FrameGate.h"
#include "FrameProcessor.h"
#include "Log.h"
#include "MainWindow.h"
#include "ObriCam.h"
#include "ObriVariables.h"
#include "SharedFlag.h"
#include "streaming.h"
#include "streaming_thread.h"
#include "StreamStatus.h"
#include <chrono>
#include <cstdio>
#include <gtkmm/main.h>
#include <string>
#include <thread>

using libobribase::storeShared;

Glib::RefPtr<ObriApplication> gApp;
MainWindow* gMainWindow = nullptr;
FrameProcessor* m_frameProcessor = new FrameProcessor;

namespace {

constexpr char sApplicationId[] = "org.obricam.camctl";

/// gtkmm's own constructor would open the display, which a program without a window may not have.
GtkApplication* makeApplication()
{
    Gtk::Main::init_gtkmm_internals();
    return GTK_APPLICATION(g_object_new(Gtk::Application::get_type(), "application-id", sApplicationId, "flags",
                                        G_APPLICATION_HANDLES_COMMAND_LINE, nullptr));
}

SUiFunctions* makeUiFunctions()
{
    return new SUiFunctions{
        .startStreaming = startStreaming,
        .stopStreaming = stopStreaming,
        .startRecordingAdv = startRecordingAdv,
        .startRecordingFits = startRecordingFits,
        .stopRecording = stopRecording,
        .startRecordingSingleFits = startRecordingSingleFits,
        .setResolution = setResolution,
        .setExposureTime = setExposureTime,
        .setGain = setGain,
        .setHighGainMode = setHighGain,
        .setBlackLevel = setBlackLevel,
        .setInvertMode = setInvertMode,
        .setFpnMode = setFpnMode,
        .setFlipMode = setFlipMode,
        .setShowPcTime = setShowPcTime,
        .setOverlayMode = setOverlayMode,
        .getIsStreaming = getIsStreaming,
        .getIsRecording = getIsRecording,
    };
}

void finaliseRecordings()
{
    if (getIsRecording())
        stopRecording();
}

/// Start-up and shutdown as those of an application that has nothing to do with windows.
void behaveWithoutDisplay(GApplication* application)
{
    auto* plain = G_APPLICATION_CLASS(g_type_class_peek(G_TYPE_APPLICATION));
    plain->startup(application);
    G_APPLICATION_GET_CLASS(application)->shutdown = plain->shutdown;
}

/// One line on the terminal, in one piece: the streaming thread speaks there, too.
void say(const std::string& line)
{
    puts(line.c_str());
    fflush(stdout);
}

void printOptions(bool noGui, const ObriVariables& names)
{
    say("noGuiMode: " + std::to_string(noGui));
    say("observerName: " + names.observerName.raw());
    say("telescopeName: " + names.telescopeName.raw());
    say("objectName: " + names.objectName.raw());
}

} // namespace

Glib::RefPtr<ObriApplication> ObriApplication::create()
{
    return Glib::RefPtr<ObriApplication>(new ObriApplication);
}

ObriApplication::ObriApplication()
    : Gtk::Application(makeApplication()), fns(nullptr), isObriMode(false), noGuiMode(false)
{
    setEndingDuties({.finaliseRecordings = finaliseRecordings, .leaveCamera = leaveObriMode});
    libobribase::logOpen("/tmp", '/');
    libobribase::logWriteBehind();
    fns = makeUiFunctions();
    signal_command_line().connect(sigc::mem_fun(*this, &ObriApplication::onHandleCommandLine), false);
}

ObriApplication::~ObriApplication()
{
    if (isObriMode)
        setObriMode(0);
    libobribase::logClose();
    delete fns;
}

bool ObriApplication::local_command_line_vfunc(char**& arguments, int& exitStatus)
{
    // Here, in the process that was typed: otherwise help and errors would end the program that is running.
    if (!checkArguments(arguments, m_noGuiAsked)) {
        exitStatus = 1;
        return true;
    }
    return Gtk::Application::local_command_line_vfunc(arguments, exitStatus);
}

void ObriApplication::on_startup()
{
    m_hasDisplay = gtk_init_check(nullptr, nullptr);
    if (m_hasDisplay) {
        Gtk::Application::on_startup();
    } else if (m_noGuiAsked) {
        behaveWithoutDisplay(G_APPLICATION(gobj()));
    } else {
        fprintf(stderr, "No display to open the window on; --no-gui runs without one\n");
        endProcess(1);
    }
}

int ObriApplication::onHandleCommandLine(const Glib::RefPtr<Gio::ApplicationCommandLine>& commandLine)
{
    if (commandLine->is_remote()) { // a second launch
        activate();
        return 0;
    }
    say("Handling command line");
    ObriVariables& names = ObriVariables::instance();
    CommandLineOptions options({noGuiMode, names.observerName, names.telescopeName, names.objectName}, m_hasDisplay);
    int count = 0;
    char** arguments = commandLine->get_arguments(count);
    options.parse(arguments);
    g_strfreev(arguments);
    printOptions(noGuiMode, names);
    activate();
    return 0;
}

void ObriApplication::on_activate()
{
    if (isObriMode) { // activated before
        if (Gtk::Window* window = get_active_window())
            window->present();
        return;
    }
    openCamera();
    createStreamingThread();
    if (noGuiMode) {
        runWithoutWindow();
    } else {
        endOnSignals();
        endOnLostDisplay();
        create_appwindow()->present();
        releaseStreamingThread();
    }
}

void ObriApplication::openCamera()
{
    SVideoDevice& cam = obriCam();
    if (!discoverObriCam(&cam.info)) {
        fprintf(stderr, "No OBRI+CAM found, exiting...\n");
        endProcess(sFailureStatus);
    }
    cam.fd = initCameraDevice(cam.info.device);
    setObriMode(1);
    isObriMode = true;
    updateStreamStatus([&cam](SStreamStatus& status) {
        status.cameraConnected = true;
        status.cameraName = cam.info.name;
    });
}

void ObriApplication::runWithoutWindow()
{
    releaseStreamingThread();
    for (int second = 0; second < 5; ++second) {
        say("CLI mode");
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
}

MainWindow* ObriApplication::create_appwindow()
{
    auto* window = new MainWindow(fns);
    storeShared(gMainWindow, window);
    add_window(*window);
    window->signal_hide().connect([this, window] { on_hide_window(window); });
    return window;
}

void ObriApplication::on_hide_window(Gtk::Window* window)
{
    frameGate().closeForGood(); // no frame may meet the widgets once they go
    delete window;
}
