#pragma once

#include <gtkmm/box.h>

/// Gives every image button of the toolbar its picture at the screen's scale, so that it stays sharp. Main thread.
void sharpenToolbarImages(Gtk::Box& toolbar);
