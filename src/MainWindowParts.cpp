#include "MainWindowParts.h"

#include "Ending.h"

#include <cstdio>

const char sResourcePrefix[] = "/org/obricam/camctl/";

void failConstruction(const Glib::ustring& message)
{
    fprintf(stderr, "%s\n", message.c_str()); // in one piece: the streaming thread speaks, too
    endProcess(sFailureStatus);
}

Glib::RefPtr<Gtk::Builder> buildFromResource(const char* name)
{
    try {
        return Gtk::Builder::create_from_resource(std::string(sResourcePrefix) + name);
    } catch (const Glib::Error& error) {
        failConstruction(std::string(name) + ": " + error.what());
    }
}
