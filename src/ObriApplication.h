#pragma once

#include "SUiFunctions.h"
#include <giomm/applicationcommandline.h>
#include <gtkmm/application.h>

class MainWindow;

/// The application object: command line, start-up order, the window's life.
///
/// Main thread. A second launch of the program only brings the window of the first to the front.
class ObriApplication : public Gtk::Application {
public:
    static Glib::RefPtr<ObriApplication> create();
    ObriApplication();
    ~ObriApplication() override;

    int onHandleCommandLine(const Glib::RefPtr<Gio::ApplicationCommandLine>& commandLine);

    SUiFunctions* fns;
    bool isObriMode; ///< the camera is open and under this program's control
    bool noGuiMode;

protected:
    bool local_command_line_vfunc(char**& arguments, int& exitStatus) override;
    void on_startup() override;
    void on_activate() override;

private:
    MainWindow* create_appwindow();
    void on_hide_window(Gtk::Window* window);
    void openCamera();
    void runWithoutWindow();

    bool m_noGuiAsked = false; // on this process's own command line, known before start-up
    bool m_hasDisplay = true;
};

extern Glib::RefPtr<ObriApplication> gApp;

/// The main window, or null before there is one. Kept when the window is closed. Through loadShared and storeShared.
extern MainWindow* gMainWindow;
