#include "Subprocess.h"

#include <stdexcept>

std::string errorText(GError* error)
{
    std::string text = error ? error->message : "unknown error";
    g_clear_error(&error);
    return text;
}

GObjectHandle<GSubprocess> spawn(GSubprocessLauncher* launcher, const std::vector<std::string>& words)
{
    std::vector<const char*> pointers;
    for (const std::string& word : words)
        pointers.push_back(word.c_str());
    pointers.push_back(nullptr);
    GError* error = nullptr;
    GObjectHandle<GSubprocess> process(g_subprocess_launcher_spawnv(launcher, pointers.data(), &error));
    if (!process)
        throw std::runtime_error(words.front() + ": " + errorText(error));
    return process;
}

std::string firstLineOf(GSubprocess* process)
{
    GObjectHandle<GDataInputStream> lines(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process)));
    // The stream must stay open: a server that cannot write to it would end.
    g_filter_input_stream_set_close_base_stream(G_FILTER_INPUT_STREAM(lines.get()), FALSE);
    GError* error = nullptr;
    char* line = g_data_input_stream_read_line(lines.get(), nullptr, nullptr, &error);
    if (!line)
        throw std::runtime_error("no answer from a server: " + errorText(error));
    std::string text = line;
    g_free(line);
    return text;
}
