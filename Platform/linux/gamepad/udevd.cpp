#include "gamepad/udevd.h"

#include <unistd.h>

namespace gamepad {

bool UdevdRuns() {
    return access("/run/udev/control", F_OK) == 0;
}

}  // namespace gamepad
