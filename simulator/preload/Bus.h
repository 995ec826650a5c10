#pragma once
#include "../Camera.h"

#include <memory>
#include <vector>

namespace obrisim {

/// The cameras of this process, as the launcher's options describe them. Any thread.
class Bus {
public:
    /// The one bus; made on first use from the environment. Null when the environment names none.
    /// Never destroyed: the program may end while frames are being made.
    static Bus* instance();
    static Bus* make(const SOptions& options, const Clock& clock);

    /// The descriptor of a node opened, the negative errno, or sNotOurs for any other path.
    int open(const char* path, int flags);
    static constexpr int sNotOurs = -100000;

    /// The camera behind a descriptor, or null; lock-free.
    static Camera* cameraOf(int fd);
    /// Closes the descriptor of a camera.
    static void close(int fd);

private:
    Bus(const SOptions& options, const Clock& clock);
    void addCamera(const SOptions& options, SIdentity identity, const Clock& clock);
    static void reportUnplugged(int number);

    std::vector<std::unique_ptr<Camera>> m_cameras;
    Camera* m_replugged = nullptr; // there only after the first has been unplugged
};

} // namespace obrisim
