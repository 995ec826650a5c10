#pragma once

#include <glibmm/ustring.h>
#include <gtkmm/builder.h>

// How the window gets hold of its parts. Main thread.

/// Where the program's resources lie in the bundle, with the closing slash.
extern const char sResourcePrefix[];

/// Says a line on standard error and ends the process with status 255: the window cannot be built.
[[noreturn]] void failConstruction(const Glib::ustring& message);

/// A description among the resources, built; one that is missing or broken ends the process.
Glib::RefPtr<Gtk::Builder> buildFromResource(const char* name);

/// A widget of a description; one that is missing ends the process with the message.
template <class T>
T* requireWidget(const Glib::RefPtr<Gtk::Builder>& builder, const Glib::ustring& id, const Glib::ustring& message)
{
    T* widget = nullptr;
    // Asked first, because get_widget writes a line of its own about an id that is not there.
    if (builder->get_object(id))
        builder->get_widget(id, widget);
    if (!widget)
        failConstruction(message);
    return widget;
}
