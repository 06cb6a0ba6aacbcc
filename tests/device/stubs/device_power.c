/* Always on. */
#include "platform/device_power.h"

int device_power_subscribe_standby_event(device_power_standby_fn callback, void* user_data) {
    (void)callback, (void)user_data;
    return 0;
}
int device_power_unsubscribe_standby_event(device_power_standby_fn callback) {
    (void)callback;
    return 0;
}
int device_power_get_state(void) {
    return 0;
}
int device_power_set_wakeup_reason(int reason) {
    (void)reason;
    return 0;
}
int device_power_set_state(int state, int flag) {
    (void)state, (void)flag;
    return 0;
}
