/* The gamepad client library: connections, devices, events. 1 is success unless said otherwise. Any thread. */
#ifndef PLATFORM_GAMEPAD_H
#define PLATFORM_GAMEPAD_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One input event; type and axis codes are Linux input numbers, button codes are the library's own. */
struct _gamepad_event_s {
    uint64_t time;
    int32_t type;
    int32_t code;
    int32_t value;
} __attribute__((packed));

#ifdef __cplusplus
static_assert(sizeof(struct _gamepad_event_s) == 20, "the event's layout is fixed by the library");
#else
typedef char _gamepad_event_s_is_20_bytes[sizeof(struct _gamepad_event_s) == 20 ? 1 : -1];
#endif

/* 512 bytes; only the leading uid text is read. */
struct _gamepad_device_info_s {
    char szUid[512];
};

enum { GAMEPAD_MODE_MENU = 1 };
enum { GAMEPAD_CONNECTED = 11, GAMEPAD_DISCONNECTED = 12 };
enum { GAMEAPP_OPENED = 0, GAMEAPP_CLOSED = 1 };

/* Both arrive on a thread of the library's and may block for the length of a polling pass. None is under way any more
   when unregistering returns, except the one that unregisters from inside itself. */
typedef void (*gamepad_connection_fn)(int type, struct _gamepad_device_info_s info, void* user_data);
typedef void (*gamepad_gameapp_status_fn)(int type, int pid, void* user_data);

int gamepad_open_for_custom_mode(int mode, int unused);
int gamepad_close(void);
int gamepad_register_connection_callback(gamepad_connection_fn callback, void* user_data);
int gamepad_unregister_connection_callback(gamepad_connection_fn callback);
int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn callback, void* user_data);
int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn callback);
int gamepad_get_all_gameapp_info_list(char** text); /* malloc'd "pid,pid,..."; the caller frees */
int gamepad_get_connected_gampad_count(void);       /* the count itself */
int gamepad_get_connected_device_Info(struct _gamepad_device_info_s* info, unsigned char* flag, int index);
int gamepad_create_device(const char* uid, int* device_id);
int gamepad_destroy_device(int device_id);
int is_standard_gamepad(int device_id, bool* standard);
int gamepad_get_abs_value_range(int device_id, int axis, int* maximum, int* minimum);

/* count: in the buffer's capacity, out the events delivered. Never waits. */
int gamepad_get_events(int device_id, struct _gamepad_event_s* events, int* count);

#ifdef __cplusplus
}
#endif

#endif
