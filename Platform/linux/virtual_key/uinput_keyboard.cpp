#include "virtual_key/uinput_keyboard.h"

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "platform/dlog.h"
#include "virtual_key/key_codes.h"

namespace {

struct DeleteLibevdev {
    void operator()(libevdev* device) const { libevdev_free(device); }
};

// Every key that can be sent is declared: the application's file may name any of them, a device cannot get more keys
// later, and a second device would lose its first keys, since nobody reads it until it has been announced.
// No EV_REP: whoever draws the screen repeats a held key by itself, in the rhythm that its user has chosen.
std::unique_ptr<libevdev, DeleteLibevdev> DescribeKeyboard() {
    std::unique_ptr<libevdev, DeleteLibevdev> device(libevdev_new());
    if (!device) {
        return nullptr;
    }
    libevdev_set_name(device.get(), kVirtualKeyboardName);
    libevdev_set_id_bustype(device.get(), BUS_VIRTUAL);
    for (int kernelCode = 0; kernelCode <= KEY_MAX; ++kernelCode) {
        if (WhyNoKey(kernelCode + kPlatformCodeOffset) == nullptr) {
            libevdev_enable_event_code(device.get(), EV_KEY, static_cast<unsigned int>(kernelCode), nullptr);
        }
    }
    return device;
}

// 0, or a negative errno. A signal may interrupt the kernel here, in spite of SA_RESTART: asking again starts anew.
int CreateDevice(int fd, libevdev_uinput** device) {
    const auto description = DescribeKeyboard();
    int error = description ? -EINTR : -ENOMEM;
    while (error == -EINTR) {
        error = libevdev_uinput_create_from_device(description.get(), fd, device);
    }
    return error;
}

void Report(const std::string& reason) {
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "virtual_key: no virtual remote: %s", reason.c_str());
}

}  // namespace

std::unique_ptr<UinputKeyboard> UinputKeyboard::Open(const char* path, int* error) {
    const int fd = open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        *error = -errno;
        Report(WhyUinputCannotBeOpened(path, errno));
        return nullptr;
    }
    libevdev_uinput* device = nullptr;
    *error = CreateDevice(fd, &device);
    if (*error != 0) {
        Report(std::string(path) + " takes no new device: " + std::strerror(-*error));
        close(fd);
        return nullptr;
    }
    return std::unique_ptr<UinputKeyboard>(new UinputKeyboard(fd, device));
}

UinputKeyboard::UinputKeyboard(int fd, libevdev_uinput* device) : fd_(fd), device_(device), writer_(fd) {}

UinputKeyboard::~UinputKeyboard() {
    std::this_thread::sleep_until(lastEvent_ + kSettle);
    libevdev_uinput_destroy(device_);
    close(fd_);
}

int UinputKeyboard::Send(int platformCode, int action) {
    lastEvent_ = std::chrono::steady_clock::now();
    return writer_.Send(platformCode, action);
}

const char* UinputKeyboard::Node() const {
    const char* node = libevdev_uinput_get_devnode(device_);
    return node == nullptr ? "a device without a node" : node;
}

std::string WhyUinputCannotBeOpened(const char* path, int error) {
    const std::string node = path;
    switch (error) {
        case ENOENT:
        case ENODEV:
        case ENXIO:
            return node + " is not there, the kernel module is not loaded; as root: modprobe uinput";
        case EACCES:
        case EPERM:
            return node +
                   " may not be opened by this user; a udev rule below 73 grants it: SUBSYSTEM==\"misc\", "
                   "KERNEL==\"uinput\", TAG+=\"uaccess\", OPTIONS+=\"static_node=uinput\"";
        default:
            return node + " cannot be opened: " + std::strerror(error);
    }
}
