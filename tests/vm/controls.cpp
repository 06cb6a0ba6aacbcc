#include "controls.h"

std::ostream& operator<<(std::ostream& out, const Control& control) {
    return out << control.name;
}

Control Button(const char* name, int button, int key, PadLayout (*layout)()) {
    return {name, layout, {EV_KEY, button, 1}, {EV_KEY, button, 0}, key};
}

Control Push(const char* name, int axis, int value, int key, PadLayout (*layout)()) {
    return {name, layout, {EV_ABS, axis, value}, {EV_ABS, axis, layout().AxisOf(axis).Centre()}, key};
}

std::vector<Control> ControlsOfACommonPad() {
    return {Button("South", BTN_SOUTH, KEY_ENTER),
            Button("East", BTN_EAST, KEY_ESC),
            Button("West", BTN_WEST, KEY_CALC),
            Button("LeftStickClick", BTN_THUMBL, kRemoteStick),
            Push("LeftStickRight", ABS_X, 32767, KEY_RIGHT),
            Push("LeftStickLeft", ABS_X, -32768, KEY_LEFT),
            Push("LeftStickDown", ABS_Y, 32767, KEY_DOWN),
            Push("LeftStickUp", ABS_Y, -32768, KEY_UP),
            Push("RightStickRight", ABS_RX, 32767, KEY_F12),
            Push("RightStickLeft", ABS_RX, -32768, KEY_F11),
            Push("RightStickDown", ABS_RY, 32767, KEY_F9),
            Push("RightStickUp", ABS_RY, -32768, KEY_F10),
            Push("HatLeft", ABS_HAT0X, -1, KEY_LEFT),
            Push("HatRight", ABS_HAT0X, 1, KEY_RIGHT),
            Push("HatUp", ABS_HAT0Y, -1, KEY_UP),
            Push("HatDown", ABS_HAT0Y, 1, KEY_DOWN)};
}

std::vector<Control> ControlsOfAPadWithDirectionButtons() {
    return {Button("Up", BTN_DPAD_UP, KEY_UP, PadWithDirectionButtons),
            Button("Down", BTN_DPAD_DOWN, KEY_DOWN, PadWithDirectionButtons),
            Button("Left", BTN_DPAD_LEFT, KEY_LEFT, PadWithDirectionButtons),
            Button("Right", BTN_DPAD_RIGHT, KEY_RIGHT, PadWithDirectionButtons)};
}

std::vector<Control> ControlsOfAPadWithAHomePageKey() {
    return {Button("HomePage", KEY_HOMEPAGE, KEY_F5, PadWithHomePageKey)};
}

// The face buttons of this pad count from the left one, clockwise from below.
std::vector<Control> ControlsOfAnOldUsbPad() {
    return {Button("South", BTN_THUMB, KEY_ENTER, OldUsbPad),
            Button("East", BTN_THUMB2, KEY_ESC, OldUsbPad),
            Button("West", BTN_TRIGGER, KEY_CALC, OldUsbPad),
            Button("LeftStickClick", BTN_BASE5, kRemoteStick, OldUsbPad),
            Push("LeftStickRight", ABS_X, 255, KEY_RIGHT, OldUsbPad),
            Push("LeftStickUp", ABS_Y, 0, KEY_UP, OldUsbPad),
            Push("RightStickLeft", ABS_Z, 0, KEY_F11, OldUsbPad),
            Push("RightStickDown", ABS_RZ, 255, KEY_F9, OldUsbPad),
            Push("HatLeft", ABS_HAT0X, -1, KEY_LEFT, OldUsbPad)};
}
