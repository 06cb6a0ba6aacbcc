/* One pad, whose first button was pressed and released once. */
#include "platform/gamepad.h"

#include <stdlib.h>
#include <string.h>

static int taken;

int gamepad_open_for_custom_mode(int mode, int unused) {
    (void)unused;
    return mode == GAMEPAD_MODE_MENU;
}
int gamepad_close(void) {
    return 1;
}
int gamepad_register_connection_callback(gamepad_connection_fn callback, void* user_data) {
    (void)callback, (void)user_data;
    return 1;
}
int gamepad_unregister_connection_callback(gamepad_connection_fn callback) {
    (void)callback;
    return 1;
}
int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn callback, void* user_data) {
    (void)callback, (void)user_data;
    return 1;
}
int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn callback) {
    (void)callback;
    return 1;
}
int gamepad_get_all_gameapp_info_list(char** text) {
    *text = calloc(1, 1);
    return 1;
}
int gamepad_get_connected_gampad_count(void) {
    return 1;
}
int gamepad_get_connected_device_Info(struct _gamepad_device_info_s* info, unsigned char* flag, int index) {
    (void)flag;
    strcpy(info->szUid, "pad");
    return index == 0;
}
int gamepad_create_device(const char* uid, int* device_id) {
    *device_id = 0;
    return strcmp(uid, "pad") == 0;
}
int gamepad_destroy_device(int device_id) {
    return device_id == 0;
}
int is_standard_gamepad(int device_id, bool* standard) {
    *standard = true;
    return device_id == 0;
}
int gamepad_get_abs_value_range(int device_id, int axis, int* maximum, int* minimum) {
    (void)axis;
    *maximum = 32767;
    *minimum = -32768;
    return device_id == 0;
}
int gamepad_get_events(int device_id, struct _gamepad_event_s* events, int* count) {
    const int wanted = *count;
    *count = 0;
    while (device_id == 0 && taken < 2 && *count < wanted) {
        struct _gamepad_event_s event = {0, 1, 0, taken == 0};
        events[(*count)++] = event;
        ++taken;
    }
    return *count > 0;
}
