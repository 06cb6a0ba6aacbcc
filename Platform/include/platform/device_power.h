/* Standby and wake-up. Any thread. */
#ifndef PLATFORM_DEVICE_POWER_H
#define PLATFORM_DEVICE_POWER_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _device_poweroff_info _device_poweroff_info; /* opaque */

/* A standby notice; arrives on a thread of the platform's choice. None is under way any more when unsubscribing
   returns, except the one that unsubscribes from inside itself. */
typedef void (*device_power_standby_fn)(_device_poweroff_info* info, void* user_data);

int device_power_subscribe_standby_event(device_power_standby_fn callback, void* user_data); /* 0 on success */
int device_power_unsubscribe_standby_event(device_power_standby_fn callback);                /* 0 on success */
int device_power_get_state(void);
int device_power_set_wakeup_reason(int reason);
int device_power_set_state(int state, int flag);

#ifdef __cplusplus
}
#endif

#endif
