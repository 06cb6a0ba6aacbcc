/// Devices that exist only inside libevdev: what a pad announces, without a kernel.
#pragma once

#include <libevdev/libevdev.h>

#include <memory>
#include <string>
#include <vector>

struct ModelAxis {
    unsigned code;
    int minimum;
    int maximum;
    int fuzz = 0;
    int flat = 0;
    int value = 0;
};

struct PadModel {
    std::string name;
    int bus = BUS_USB;
    int vendor = 0;
    int product = 0;
    int version = 0x110;
    std::string phys;
    std::string uniq;
    std::vector<unsigned> keys;
    std::vector<ModelAxis> axes;
    std::vector<unsigned> relative;
    std::vector<unsigned> properties;
    std::vector<unsigned> held;  // keys that are down

    PadModel With(std::vector<unsigned> more) const;
    PadModel Without(const std::vector<unsigned>& fewer) const;
};

/// Buttons by place, sticks of 16 bits, triggers of 8 bits, a hat.
PadModel StandardPad();
/// The same with its directional pad as four buttons.
PadModel PadWithDirectionKeys();
/// Numbers its buttons through from BTN_SOUTH, as drivers do that know no better; right stick on Z and RZ.
PadModel NumberedPad();
/// An old USB pad: buttons from BTN_TRIGGER, right stick on Z and RZ; it is in the controller mappings.
PadModel KnownOldPad();

struct FreeEvdev {
    void operator()(libevdev* device) const { libevdev_free(device); }
};
using Evdev = std::unique_ptr<libevdev, FreeEvdev>;
Evdev Announce(const PadModel& model);
