#pragma once
#include "../Camera.h"
#include "../Options.h"

#include <string>

typedef struct _UMockdevTestbed UMockdevTestbed;

namespace obrisim {

/// The part of /sys and /dev that libudev sees: a USB device with its interface and two video nodes
/// for each camera. Lives in a temporary folder that goes with it. Main thread; the process must run
/// inside umockdev's environment.
class MockedBus {
public:
    /// Throws std::runtime_error when the system lacks what devices are mocked with.
    MockedBus();
    ~MockedBus();
    MockedBus(const MockedBus&) = delete;
    MockedBus& operator=(const MockedBus&) = delete;

    /// Throws std::runtime_error when the device cannot be described.
    void plug(const SOptions& options, const SIdentity& identity);
    /// Takes the camera away again, children before parents, with the uevents of a pulled cable.
    void unplug(const SIdentity& identity);

    /// The temporary folder.
    std::string folder() const;

private:
    UMockdevTestbed* m_testbed;
};

} // namespace obrisim
