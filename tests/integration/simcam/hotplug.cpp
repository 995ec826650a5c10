// What a program sees of a camera that is pulled and plugged in again: prints libudev's view before and
// after, and the events between. Uses neither libv4l2 nor anything of ours.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <libudev.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>

static void listNodes(udev* context)
{
    udev_enumerate* enumerate = udev_enumerate_new(context);
    udev_enumerate_add_match_subsystem(enumerate, "video4linux");
    udev_enumerate_scan_devices(enumerate);
    udev_list_entry* entry;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate))
    {
        udev_device* device = udev_device_new_from_syspath(context, udev_list_entry_get_name(entry));
        udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
        printf("node %s vendor %s\n", udev_device_get_devnode(device), udev_device_get_sysattr_value(usb, "idVendor"));
        udev_device_unref(device);
    }
    udev_enumerate_unref(enumerate);
}

static int startStreaming(const char* node)
{
    const int fd = open(node, O_RDWR | O_NONBLOCK);
    v4l2_requestbuffers request{};
    request.count = 2;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (ioctl(fd, VIDIOC_REQBUFS, &request) != 0 || ioctl(fd, VIDIOC_STREAMON, &type) != 0)
        perror(node);
    return fd;
}

static void printEvents(udev_monitor* monitor, int count)
{
    pollfd waiting{udev_monitor_get_fd(monitor), POLLIN, 0};
    while (count > 0 && poll(&waiting, 1, 10000) == 1)
        if (udev_device* device = udev_monitor_receive_device(monitor)) {
            printf("%s %s\n", udev_device_get_action(device), udev_device_get_devnode(device));
            udev_device_unref(device);
            --count;
        }
}

int main()
{
    udev* context = udev_new();
    udev_monitor* monitor = udev_monitor_new_from_netlink(context, "udev");
    udev_monitor_filter_add_match_subsystem_devtype(monitor, "video4linux", nullptr);
    udev_monitor_enable_receiving(monitor);
    listNodes(context);
    const int fd = startStreaming("/dev/video0");
    printEvents(monitor, 4);
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int result = ioctl(fd, VIDIOC_STREAMOFF, &type);
    printf("old descriptor: %s\n", result == 0 ? "works" : strerror(errno));
    printf("old node: %s\n", open("/dev/video0", O_RDWR) >= 0 ? "there" : strerror(errno));
    printf("new node: %s\n", open("/dev/video4", O_RDWR) >= 0 ? "there" : strerror(errno));
    listNodes(context);
    udev_monitor_unref(monitor);
    udev_unref(context);
    return 0;
}
