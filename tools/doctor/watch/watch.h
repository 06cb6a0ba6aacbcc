/// The service as it would act on this machine's pads right now, for people to look at.
#pragma once

#include <string>

namespace doctor {

/// Until q is pressed, or the service ends. On a terminal a view of the whole screen; elsewhere a line for each event.
/// Empty, or why it cannot go on.
std::string Watch();

}  // namespace doctor
