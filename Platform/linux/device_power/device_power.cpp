#include "platform/device_power.h"

namespace {
constexpr int kSwitchedOn = 0;
constexpr int kNotSupported = -1;
}  // namespace

// Nobody is asked for standby yet: whoever wants to hear of it learns that they will not, and a machine that runs
// this code is switched on.

int device_power_subscribe_standby_event(device_power_standby_fn, void*) {
    return kNotSupported;
}

int device_power_unsubscribe_standby_event(device_power_standby_fn) {
    return kNotSupported;
}

int device_power_get_state(void) {
    return kSwitchedOn;
}

int device_power_set_wakeup_reason(int) {
    return kNotSupported;
}

int device_power_set_state(int, int) {
    return kNotSupported;
}
