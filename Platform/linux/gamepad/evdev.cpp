#include "gamepad/evdev.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "platform/dlog.h"

namespace gamepad {
namespace {

/// libevdev would write to standard output, which belongs to the keys.
__attribute__((format(printf, 7, 0))) void Forward(const libevdev*, libevdev_log_priority, void*, const char*, int,
                                                   const char*, const char* format, va_list arguments) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    __dlog_print(LOG_ID_MAIN, DLOG_DEBUG, "QVXD", "libevdev: %s", text);
}

}  // namespace

Evdev OpenEvdev(const std::string& node) {
    Evdev opened;
    opened.fd = FileDescriptor(open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!opened.fd) {
        opened.error = errno;
        return opened;
    }
    opened.device.reset(libevdev_new());
    if (opened.device == nullptr) {
        opened.error = ENOMEM;
        return opened;
    }
    libevdev_set_device_log_function(opened.device.get(), Forward, LIBEVDEV_LOG_ERROR, nullptr);
    opened.error = -libevdev_set_fd(opened.device.get(), opened.fd.Get());
    if (opened.error != 0) {
        opened.device.reset();
        return opened;
    }
    libevdev_set_clock_id(opened.device.get(), CLOCK_MONOTONIC);
    return opened;
}

}  // namespace gamepad
