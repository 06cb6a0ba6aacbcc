/// Which input devices are pads.
#pragma once

#include <libevdev/libevdev.h>

namespace gamepad {

/// The name of the service's own virtual keyboard, which must never be read back.
inline constexpr const char* kOwnKeyboard = "quorvex virtual remote";

/// By what the device can do: joystick or gamepad buttons and something to point a direction with, and none of what
/// makes a keyboard, a mouse, a touchpad, a tablet or a motion sensor. Never the service's own keyboard.
bool IsPad(const libevdev* device);

}  // namespace gamepad
