/// Held around xcb_connect: finding the user's authority file uses a static buffer in libXau.
#pragma once

#include <mutex>

inline std::mutex xcbConnectLock;
