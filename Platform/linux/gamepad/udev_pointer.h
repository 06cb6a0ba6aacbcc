/// libudev's counted references, released by themselves.
#pragma once

#include <libudev.h>

#include <memory>
#include <string>

namespace gamepad {

struct UdevUnref {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_monitor* monitor) const { udev_monitor_unref(monitor); }
    void operator()(udev_enumerate* enumerate) const { udev_enumerate_unref(enumerate); }
};

using UdevContext = std::unique_ptr<udev, UdevUnref>;
using UdevDevice = std::unique_ptr<udev_device, UdevUnref>;
using UdevMonitor = std::unique_ptr<udev_monitor, UdevUnref>;
using UdevEnumerate = std::unique_ptr<udev_enumerate, UdevUnref>;

inline std::string OrEmpty(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

}  // namespace gamepad
