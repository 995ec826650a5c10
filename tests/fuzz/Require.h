#pragma once

#include <cstdlib>

/// What must hold of every input; unlike assert it ends the process in every build.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
