#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>
#include <vector>

/// Gives a GLib object back.
struct SUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using GObjectHandle = std::unique_ptr<T, SUnref>;

/// What a call of GLib left, as text; the error is freed.
std::string errorText(GError* error);

/// Starts a program. Throws std::runtime_error when there is none of that name.
GObjectHandle<GSubprocess> spawn(GSubprocessLauncher* launcher, const std::vector<std::string>& words);

/// Waits for the first line of a program whose standard output is a pipe. Throws when it ends without one.
std::string firstLineOf(GSubprocess* process);
