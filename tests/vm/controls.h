#pragma once

#include <ostream>
#include <vector>

#include "uinput_pad.h"

constexpr int kRemoteStick = 563;     // of the platform's keys without a name in the kernel
constexpr int kRemotePlaydeck = 564;  // likewise

/// A button of a kind of pad, or a way to push its stick or hat, and the key that answers it in the menus.
struct Control {
    const char* name;
    PadLayout (*layout)();
    Change press;
    Change release;
    int key;
};
std::ostream& operator<<(std::ostream& out, const Control& control);

Control Button(const char* name, int button, int key, PadLayout (*layout)() = CommonPad);
Control Push(const char* name, int axis, int value, int key, PadLayout (*layout)() = CommonPad);

/// What of a kind of pad sends a key that is held for as long as the control is.
std::vector<Control> ControlsOfACommonPad();
std::vector<Control> ControlsOfAPadWithDirectionButtons();
std::vector<Control> ControlsOfAPadWithAHomePageKey();
std::vector<Control> ControlsOfAnOldUsbPad();
