#pragma once

#include <glibmm/ustring.h>

/// The names given on the command line that go into recordings. Written by the main thread before the streaming
/// thread exists, only read from then on.
class ObriVariables {
public:
    static ObriVariables& instance();
    virtual ~ObriVariables() = default;

    Glib::ustring observerName;
    Glib::ustring telescopeName;
    Glib::ustring objectName;
};
