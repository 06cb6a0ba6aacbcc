#include "gamepad/mapping/capabilities.h"

#include <libevdev/libevdev.h>

namespace mapping {
namespace {

// Hats and analogue axes share their codes. Two axes are a hat when they know three positions each, or when they have
// neither fuzz nor flat nor resolution as a pressure-sensitive d-pad has.
bool LooksDigital(const std::optional<input_absinfo>& axis) {
    return !axis || (axis->minimum == -1 && axis->maximum == 1);
}

bool LooksPlain(const std::optional<input_absinfo>& axis) {
    return !axis || (axis->fuzz == 0 && axis->flat == 0 && axis->resolution == 0);
}

bool IsHat(const Capabilities& device, std::uint16_t xCode) {
    const auto& x = device.axes[xCode];
    const auto& y = device.axes[xCode + 1U];
    return (x || y) && ((LooksDigital(x) && LooksDigital(y)) || (LooksPlain(x) && LooksPlain(y)));
}

bool IsHatCode(std::uint16_t code) {
    return code >= ABS_HAT0X && code <= ABS_HAT3Y;
}

// The first firmware of the Xbox Elite Series 2 reports each input twice, under the version number of the later ones;
// the mappings know it under one that no pad has.
constexpr std::uint16_t kElite = 0x0903;
constexpr std::uint16_t kEliteWithEveryInputTwice = 0x0902;

bool HasEveryInputTwice(const DeviceId& id, const libevdev* device) {
    return id.vendor == 0x045e && id.product == 0x0b05 && id.version == kElite &&
           libevdev_has_event_code(device, EV_KEY, BTN_TRIGGER_HAPPY1) != 0;
}

std::uint16_t HatOf(std::uint16_t code) {
    return static_cast<std::uint16_t>(code - (code - ABS_HAT0X) % 2);
}

}  // namespace

DeviceId IdOf(const libevdev* device) {
    const auto number = [](int value) { return static_cast<std::uint16_t>(value); };
    DeviceId id{number(libevdev_get_id_bustype(device)), number(libevdev_get_id_vendor(device)),
                number(libevdev_get_id_product(device)), number(libevdev_get_id_version(device)),
                libevdev_get_name(device)};
    if (HasEveryInputTwice(id, device)) {
        id.version = kEliteWithEveryInputTwice;
    }
    return id;
}

Capabilities CapabilitiesOf(const libevdev* device) {
    Capabilities result;
    for (unsigned key = 0; key < KEY_CNT; ++key) {
        result.keys[key] = libevdev_has_event_code(device, EV_KEY, key) != 0;
    }
    for (unsigned axis = 0; axis < ABS_CNT; ++axis) {
        if (const input_absinfo* info = libevdev_get_abs_info(device, axis)) {
            result.axes[axis] = *info;
        }
    }
    return result;
}

Numbering::Numbering(const Capabilities& capabilities) {
    const auto addButtons = [&](std::uint16_t first, std::uint16_t end) {
        for (std::uint16_t key = first; key < end; ++key) {
            if (capabilities.keys[key]) {
                buttons.push_back(key);
            }
        }
    };
    addButtons(BTN_JOYSTICK, KEY_MAX);
    addButtons(0, BTN_JOYSTICK);

    for (std::uint16_t hat = ABS_HAT0X; hat < ABS_HAT3Y; hat = static_cast<std::uint16_t>(hat + 2)) {
        if (IsHat(capabilities, hat)) {
            hats.push_back(hat);
        }
    }
    for (std::uint16_t axis = 0; axis < ABS_MAX; ++axis) {
        const bool partOfHat = IsHatCode(axis) && IsHat(capabilities, HatOf(axis));
        if (capabilities.axes[axis] && !partOfHat) {
            axes.push_back(axis);
        }
    }
}

}  // namespace mapping
