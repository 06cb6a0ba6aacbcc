/// Held around xcb_connect: finding the user's authority file uses a static buffer in libXau.
#pragma once

#include "locks/locks.h"

inline Lock xcbConnectLock;
