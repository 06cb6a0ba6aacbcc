#include "gamepad/pad_classifier.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace gamepad {
namespace {

bool HasKey(const libevdev* device, unsigned key) {
    return libevdev_has_event_code(device, EV_KEY, key) == 1;
}

bool HasKeyBetween(const libevdev* device, unsigned first, unsigned last) {
    for (unsigned key = first; key <= last; ++key) {
        if (HasKey(device, key)) {
            return true;
        }
    }
    return false;
}

bool HasAxisPair(const libevdev* device, unsigned first) {
    return libevdev_has_event_code(device, EV_ABS, first) == 1 &&
           libevdev_has_event_code(device, EV_ABS, first + 1) == 1;
}

bool IsOwnKeyboard(const libevdev* device) {
    const char* name = libevdev_get_name(device);
    return name != nullptr && std::strcmp(name, kOwnKeyboard) == 0;
}

/// The whole block from Escape to D, by which a keyboard is told from a device with some extra keys.
bool IsKeyboard(const libevdev* device) {
    for (unsigned key = KEY_ESC; key <= KEY_D; ++key) {
        if (!HasKey(device, key)) {
            return false;
        }
    }
    return true;
}

bool IsPointer(const libevdev* device) {
    const bool is_mouse = HasKey(device, BTN_LEFT) && libevdev_has_event_code(device, EV_REL, REL_X) == 1;
    return is_mouse || HasKeyBetween(device, BTN_TOOL_PEN, BTN_TOOL_LENS) || HasKey(device, BTN_TOUCH) ||
           HasKey(device, BTN_TOOL_FINGER);
}

bool IsOfAnotherKind(const libevdev* device) {
    static constexpr std::array<unsigned, 4> kProperties{INPUT_PROP_ACCELEROMETER, INPUT_PROP_DIRECT,
                                                         INPUT_PROP_BUTTONPAD, INPUT_PROP_POINTING_STICK};
    return std::any_of(kProperties.begin(), kProperties.end(),
                       [device](unsigned property) { return libevdev_has_property(device, property) == 1; });
}

}  // namespace

bool IsPad(const libevdev* device) {
    const bool has_buttons = HasKeyBetween(device, BTN_JOYSTICK, BTN_DIGI - 1);
    const bool has_directions = HasAxisPair(device, ABS_X) || HasAxisPair(device, ABS_HAT0X) ||
                                HasKeyBetween(device, BTN_DPAD_UP, BTN_DPAD_RIGHT);
    return has_buttons && has_directions && !IsOwnKeyboard(device) && !IsKeyboard(device) && !IsPointer(device) &&
           !IsOfAnotherKind(device);
}

}  // namespace gamepad
