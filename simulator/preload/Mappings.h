#pragma once
#include "../Camera.h"

namespace obrisim {

/// Where the program has mapped buffers of its cameras. Every unmapping of the program passes by here, so
/// nothing is locked. Any thread.
class Mappings {
public:
    static void add(const void* address, Camera& camera, const SMapping& mapping);
    /// Tells the camera when this was one of its mappings.
    static void remove(const void* address);
};

} // namespace obrisim
