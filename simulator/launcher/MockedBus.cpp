#include "MockedBus.h"

#include <cerrno>
#include <cstring>
#include <pty.h>
#include <stdexcept>
#include <umockdev.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace obrisim {

static std::string usbPath(const SIdentity& identity)
{
    return "/devices/pci0000:00/0000:00:14.0/usb2/2-" + std::to_string(3 + identity.number);
}

static std::string interfacePath(const SIdentity& identity)
{
    return usbPath(identity) + "/2-" + std::to_string(3 + identity.number) + ":1.0";
}

static std::string nodePath(const SIdentity& identity, int node)
{
    return interfacePath(identity) + "/video4linux/video" + std::to_string(node);
}

// The bus counts its devices up: one that comes back has another number.
static int deviceNumber(const SIdentity& identity)
{
    return 7 + identity.videoNode / 2;
}

using Words = std::vector<std::pair<std::string, std::string>>;

// The text with each word of the first kind replaced by its second.
static std::string filled(std::string text, const Words& words)
{
    for (const auto& [word, value] : words)
        for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + value.size()))
            text.replace(at, word.size(), value);
    return text;
}

// Devices in umockdev's notation: path, node, properties of udev, attributes of sysfs.
constexpr const char* sUsb = R"(P: @path
N: bus/usb/002/@three=12010003EF0201400912340100010102030109020000
E: DEVTYPE=usb_device
E: SUBSYSTEM=usb
E: BUSNUM=002
E: DEVNUM=@three
E: PRODUCT=1209/abcd/100
A: bConfigurationValue=1\n
A: busnum=2\n
A: devnum=@device\n
A: idVendor=1209\n
A: idProduct=abcd\n
A: manufacturer=Simulated\n
A: product=@name\n
A: serial=SIM000@serial\n
A: speed=5000\n
A: version= 3.00\n

)";
constexpr const char* sInterface = R"(P: @path
E: DEVTYPE=usb_interface
E: SUBSYSTEM=usb
E: DRIVER=uvcvideo
E: INTERFACE=14/1/0
E: PRODUCT=1209/abcd/100
A: bInterfaceClass=0e\n
A: bInterfaceNumber=00\n
A: bInterfaceSubClass=01\n

)";
constexpr const char* sNode = R"(P: @path
N: video@number
E: DEVNAME=/dev/video@number
E: SUBSYSTEM=video4linux
E: MAJOR=81
E: MINOR=@number
E: ID_V4L_PRODUCT=@name
E: ID_V4L_CAPABILITIES=@capabilities
A: dev=81:@number\n
A: index=@index\n
A: name=@name\n
L: device=../../../@interface

)";

static std::string describeUsb(const SOptions& options, const SIdentity& identity)
{
    const std::string device = std::to_string(deviceNumber(identity));
    return filled(sUsb, {{"@path", usbPath(identity)},
                         {"@three", std::string(3 - device.size(), '0') + device},
                         {"@device", device},
                         {"@serial", std::to_string(1 + identity.number)},
                         {"@name", options.name}});
}

static std::string describeNode(const SOptions& options, const SIdentity& identity, bool metadata)
{
    const int number = metadata ? identity.metadataNode : identity.videoNode;
    const std::string interface = interfacePath(identity);
    return filled(sNode, {{"@path", nodePath(identity, number)},
                          {"@number", std::to_string(number)},
                          {"@capabilities", metadata ? ":" : ":capture:"},
                          {"@index", metadata ? "1" : "0"},
                          {"@interface", interface.substr(interface.rfind('/') + 1)},
                          {"@name", options.name}});
}

// umockdev makes a device node of a pseudo-terminal, and aborts when it gets none.
static UMockdevTestbed* makeTestbed()
{
    int ends[2];
    if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error(std::string("no pseudo-terminal to mock a device node with; is /dev/pts mounted? (") +
                                 strerror(errno) + ")");
    close(ends[0]);
    close(ends[1]);
    return umockdev_testbed_new();
}

MockedBus::MockedBus() : m_testbed(makeTestbed()) {}

MockedBus::~MockedBus()
{
    g_object_unref(m_testbed);
}

std::string MockedBus::folder() const
{
    gchar* path = umockdev_testbed_get_root_dir(m_testbed);
    std::string folder(path);
    g_free(path);
    return folder;
}

// Adding announces the devices by itself.
void MockedBus::plug(const SOptions& options, const SIdentity& identity)
{
    const std::string text = describeUsb(options, identity) + filled(sInterface, {{"@path", interfacePath(identity)}}) +
                             describeNode(options, identity, false) + describeNode(options, identity, true);
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(m_testbed, text.c_str(), &error)) {
        const std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error("the device cannot be mocked: " + why);
    }
}

void MockedBus::unplug(const SIdentity& identity)
{
    const std::string paths[] = {nodePath(identity, identity.metadataNode), nodePath(identity, identity.videoNode),
                                 interfacePath(identity), usbPath(identity)};
    for (const std::string& path : paths)
        umockdev_testbed_uevent(m_testbed, ("/sys" + path).c_str(), "remove");
    for (const std::string& path : paths)
        umockdev_testbed_remove_device(m_testbed, ("/sys" + path).c_str());
}

} // namespace obrisim
