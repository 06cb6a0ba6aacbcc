/// Opening event nodes.
#pragma once

#include <libevdev/libevdev.h>

#include <memory>
#include <string>

#include "gamepad/file_descriptor.h"

namespace gamepad {

struct EvdevDeleter {
    void operator()(libevdev* device) const { libevdev_free(device); }
};

/// An open node, never grabbed: games must be able to read the pad too.
struct Evdev {
    FileDescriptor fd;
    std::unique_ptr<libevdev, EvdevDeleter> device;
    int error = 0;  // errno, when device is null
};

/// Event times count from CLOCK_MONOTONIC, so they do not jump when somebody sets the clock.
Evdev OpenEvdev(const std::string& node);

}  // namespace gamepad
