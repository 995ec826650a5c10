#pragma once

#include <glibmm/optioncontext.h>
#include <glibmm/ustring.h>

/// Where the values of the program's options go.
struct SOptionTargets {
    bool& noGui;
    Glib::ustring& observerName;
    Glib::ustring& telescopeName;
    Glib::ustring& objectName;
};

/// The options of the command line; parse() fills the targets, which must outlive it. Main thread.
class CommandLineOptions {
public:
    /// @param openDisplay  lets GTK's options open the display when they are parsed.
    CommandLineOptions(const SOptionTargets& targets, bool openDisplay);

    /// Reads the options and takes them out of arguments (a list ended by null, freed by the caller).
    /// Throws Glib::Error for an option that is wrong. --help prints the help and ends the process with status 0.
    void parse(char**& arguments);

private:
    Glib::OptionGroup m_group;
    Glib::OptionContext m_context;
};

/// Reads a copy of the arguments to see whether they are right. Says on standard error what is wrong, in one line.
bool checkArguments(char** arguments, bool& noGui);
