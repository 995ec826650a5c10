#include "CommandLine.h"

#include <cstdio>
#include <gtk/gtk.h>
#include <string>

namespace {

Glib::OptionEntry makeEntry(const char* name, const char* description)
{
    Glib::OptionEntry entry;
    entry.set_long_name(name);
    entry.set_description(description);
    return entry;
}

} // namespace

CommandLineOptions::CommandLineOptions(const SOptionTargets& targets, bool openDisplay)
    : m_group("options", "main options", ""), m_context("")
{
    m_group.add_entry(makeEntry("no-gui", "Run in CLI mode, without graphical user interface."), targets.noGui);
    m_group.add_entry(
        makeEntry("observer-name", "Specify the name of the observer to use in recordings and reporting."),
        targets.observerName);
    m_group.add_entry(
        makeEntry("telescope-name", "Specify the name of the telescope to use in recordings and reporting."),
        targets.telescopeName);
    m_group.add_entry(makeEntry("object-name", "Specify the name of the object to use in recordings and reporting."),
                      targets.objectName);
    m_context.add_group(m_group);
    // The context takes the group over.
    g_option_context_add_group(m_context.gobj(), gtk_get_option_group(openDisplay));
}

void CommandLineOptions::parse(char**& arguments)
{
    m_context.parse(arguments);
}

bool checkArguments(char** arguments, bool& noGui)
{
    Glib::ustring ignored;
    CommandLineOptions options({noGui, ignored, ignored, ignored}, false);
    char** copy = g_strdupv(arguments);
    std::string mistake;
    try {
        options.parse(copy);
        // A name in several words without quotes would otherwise lose all but its first one.
        if (copy[0] && copy[1])
            mistake = std::string("Unexpected argument ") + copy[1];
    } catch (const Glib::Error& error) {
        mistake = error.what();
    }
    g_strfreev(copy);
    if (!mistake.empty())
        fprintf(stderr, "%s\n", mistake.c_str());
    return mistake.empty();
}
