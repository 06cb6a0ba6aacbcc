/// A platform that does nothing and costs nothing, so that what is measured is the service alone. Every call succeeds.
#pragma once

#include <string>

namespace null_platform {

extern int pads;             ///< how many are connected
extern int eventsOfEachPad;  ///< for each reading: the south button, pressed and released in turn
extern int leastLogged;      ///< a log_priority; messages from it on are formatted, then forgotten
extern std::string folder;   ///< where all of tzplatform's directories are

}  // namespace null_platform
