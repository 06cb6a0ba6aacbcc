/// The nodes through which a program can read a pad.
#pragma once

#include <string>
#include <vector>

#include "gamepad/pad.h"

namespace games {

/// Of each pad: its event node, its joystick node and, of a HID device, the raw node that many games read instead.
std::vector<std::string> NodesOf(const std::vector<gamepad::PadPointer>& pads);

/// The event node and what sysfs has beside and above the pad; `devices` stands for "/dev".
std::vector<std::string> NodesOf(const std::string& node, const std::string& syspath, const std::string& devices);

}  // namespace games
