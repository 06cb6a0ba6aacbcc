/// What a device is and can do, apart from any open device.
#pragma once

#include <linux/input.h>

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct libevdev;

namespace mapping {

struct DeviceId {
    std::uint16_t bus = 0;
    std::uint16_t vendor = 0;
    std::uint16_t product = 0;
    std::uint16_t version = 0;
    std::string name;
};

struct Capabilities {
    std::bitset<KEY_CNT> keys;
    std::array<std::optional<input_absinfo>, ABS_CNT> axes;
};

DeviceId IdOf(const libevdev* device);
Capabilities CapabilitiesOf(const libevdev* device);

/// The codes behind the numbers that mappings use.
struct Numbering {
    explicit Numbering(const Capabilities& capabilities);

    std::vector<std::uint16_t> buttons;  // from BTN_JOYSTICK upwards, then those below it
    std::vector<std::uint16_t> axes;     // by code, hats left out
    std::vector<std::uint16_t> hats;     // the code of the x axis; y follows it
};

}  // namespace mapping
