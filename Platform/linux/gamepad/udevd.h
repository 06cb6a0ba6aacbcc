/// Whether udevd takes care of devices on this machine.
#pragma once

namespace gamepad {

/// Without it (containers) udev's monitor can be opened but stays silent, and nothing is classified.
bool UdevdRuns();

}  // namespace gamepad
