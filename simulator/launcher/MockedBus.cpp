#include "MockedBus.h"

#include <stdexcept>
#include <umockdev.h>

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

static std::string describeUsb(const SOptions& options, const SIdentity& identity)
{
    const int device = deviceNumber(identity);
    char number[8];
    snprintf(number, sizeof number, "%03d", device % 1000);
    return "P: " + usbPath(identity) + "\nN: bus/usb/002/" + number +
           "=12010003EF0201400912340100010102030109020000\n"
           "E: DEVTYPE=usb_device\nE: SUBSYSTEM=usb\nE: BUSNUM=002\nE: DEVNUM=" +
           number + "\nE: PRODUCT=1209/abcd/100\nA: bConfigurationValue=1\\n\nA: busnum=2\\n\nA: devnum=" +
           std::to_string(device) +
           "\\n\nA: idVendor=1209\\n\nA: idProduct=abcd\\n\nA: manufacturer=Simulated\\n\nA: product=" + options.name +
           "\\n\nA: serial=SIM000" + std::to_string(1 + identity.number) +
           "\\n\nA: speed=5000\\n\nA: version= 3.00\\n\n\n";
}

static std::string describeInterface(const SIdentity& identity)
{
    return "P: " + interfacePath(identity) +
           "\nE: DEVTYPE=usb_interface\nE: SUBSYSTEM=usb\nE: DRIVER=uvcvideo\nE: INTERFACE=14/1/0\n"
           "E: PRODUCT=1209/abcd/100\nA: bInterfaceClass=0e\\n\nA: bInterfaceNumber=00\\n\nA: "
           "bInterfaceSubClass=01\\n\n\n";
}

static std::string describeNode(const SOptions& options, const SIdentity& identity, int node, int index)
{
    const std::string number = std::to_string(node);
    return "P: " + nodePath(identity, node) + "\nN: video" + number + "\nE: DEVNAME=/dev/video" + number +
           "\nE: SUBSYSTEM=video4linux\nE: MAJOR=81\nE: MINOR=" + number + "\nE: ID_V4L_PRODUCT=" + options.name +
           "\nE: ID_V4L_CAPABILITIES=:" + (index == 0 ? "capture:" : "") + "\nA: dev=81:" + number +
           "\\n\nA: index=" + std::to_string(index) + "\\n\nA: name=" + options.name + "\\n\nL: device=../../../" +
           "2-" + std::to_string(3 + identity.number) + ":1.0\n\n";
}

MockedBus::MockedBus() : m_testbed(umockdev_testbed_new()) {}

MockedBus::~MockedBus()
{
    g_object_unref(m_testbed);
}

void MockedBus::plug(const SOptions& options, const SIdentity& identity)
{
    const std::string text = describeUsb(options, identity) + describeInterface(identity) +
                             describeNode(options, identity, identity.videoNode, 0) +
                             describeNode(options, identity, identity.metadataNode, 1);
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(m_testbed, text.c_str(), &error)) {
        const std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error("the device cannot be mocked: " + why);
    }
    announce(usbPath(identity), "add");
    announce(nodePath(identity, identity.videoNode), "add");
    announce(nodePath(identity, identity.metadataNode), "add");
}

void MockedBus::unplug(const SIdentity& identity)
{
    const std::string paths[] = {nodePath(identity, identity.metadataNode), nodePath(identity, identity.videoNode),
                                 interfacePath(identity), usbPath(identity)};
    for (const std::string& path : paths)
        announce(path, "remove");
    for (const std::string& path : paths)
        umockdev_testbed_remove_device(m_testbed, ("/sys" + path).c_str());
}

void MockedBus::announce(const std::string& sysPath, const char* action)
{
    umockdev_testbed_uevent(m_testbed, ("/sys" + sysPath).c_str(), action);
}

} // namespace obrisim
