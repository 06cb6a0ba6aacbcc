/// The pads that are connected, for the rest of the gamepad library's folder.
#pragma once

#include "gamepad/pad.h"

namespace gamepad {

/// Empty while the library is not open.
PadList& ConnectedPads();

}  // namespace gamepad
