#include "null_platform.h"

#include <platform/assert.h>
#include <platform/aul.h>
#include <platform/device_power.h>
#include <platform/dlog.h>
#include <platform/gamepad.h>
#include <platform/screensaver.h>
#include <platform/system_info.h>
#include <platform/tzplatform_config.h>
#include <platform/vconf.h>
#include <platform/virtual_key.h>
#include <platform/was.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "main.h"

// Of the program's main, which is not here.
std::atomic<GMainLoop*> gLoop{nullptr};
std::atomic<bool> is_gamepad_service_accessible{true};
void QuitMainLoop() {}

namespace null_platform {
int pads = 0;
int eventsOfEachPad = 0;
int leastLogged = DLOG_ERROR + 1;
std::string folder;
}  // namespace null_platform

void _ASSERT(const char*, const char*, int) {}

int __dlog_print(log_id_t, int priority, const char*, const char* format, ...) {
    if (priority < null_platform::leastLogged) {
        return 0;
    }
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return length;
}

int aul_listen_app_status_signal(aul_app_status_fn, void*) {
    return 0;
}
int aul_app_get_appid_bypid(int, char*, int) {
    return -1;
}
int aul_app_get_status(const char*) {
    return -1;
}

int device_power_subscribe_standby_event(device_power_standby_fn, void*) {
    return 0;
}
int device_power_unsubscribe_standby_event(device_power_standby_fn) {
    return 0;
}
int device_power_get_state(void) {
    return 0;
}
int device_power_set_wakeup_reason(int) {
    return 0;
}
int device_power_set_state(int, int) {
    return 0;
}

int gamepad_open_for_custom_mode(int, int) {
    return 1;
}
int gamepad_close(void) {
    return 1;
}
int gamepad_register_connection_callback(gamepad_connection_fn, void*) {
    return 1;
}
int gamepad_unregister_connection_callback(gamepad_connection_fn) {
    return 1;
}
int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn, void*) {
    return 1;
}
int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn) {
    return 1;
}
int gamepad_get_all_gameapp_info_list(char** text) {
    *text = static_cast<char*>(std::calloc(1, 1));
    return 1;
}
int gamepad_get_connected_gampad_count(void) {
    return null_platform::pads;
}
int gamepad_get_connected_device_Info(_gamepad_device_info_s* info, unsigned char*, int index) {
    std::snprintf(info->szUid, sizeof info->szUid, "%d", index);
    return 1;
}
int gamepad_create_device(const char* uid, int* device_id) {
    *device_id = std::atoi(uid);
    return 1;
}
int gamepad_destroy_device(int) {
    return 1;
}
int is_standard_gamepad(int, bool*) {
    return 1;
}
int gamepad_get_abs_value_range(int, int, int* maximum, int* minimum) {
    *maximum = 32767;
    *minimum = -32768;
    return 1;
}
int gamepad_get_events(int, _gamepad_event_s* events, int* count) {
    *count = std::min(*count, null_platform::eventsOfEachPad);
    for (int i = 0; i < *count; ++i) {
        events[i].type = 1;
        events[i].code = 0;
        events[i].value = (i + 1) % 2;
    }
    return *count > 0 ? 1 : 0;
}

int screensaver_reset(void) {
    return 0;
}
int system_info_get_custom_bool(const char*, bool* value) {
    *value = false;
    return 0;
}
int system_info_get_value_int(int, int* value) {
    *value = 0;
    return 0;
}
const char* tzplatform_getenv(int) {
    return null_platform::folder.c_str();
}

int vconf_get_int(const char*, int* value) {
    *value = 0;
    return 0;
}
int vconf_get_bool(const char*, int* value) {
    *value = 0;
    return 0;
}
char* vconf_get_str(const char*) {
    return static_cast<char*>(std::calloc(1, 1));
}
int vconf_set_int(const char*, int) {
    return 0;
}
int vconf_set_str(const char*, const char*) {
    return 0;
}
int vconf_notify_key_changed(const char*, vconf_callback_fn, void*) {
    return 0;
}
int vconf_ignore_key_changed(const char*, vconf_callback_fn) {
    return 0;
}
int vconf_keynode_get_int(keynode_t*) {
    return 0;
}
int vconf_keynode_get_bool(keynode_t*) {
    return 0;
}

int VirtualKey_Initialize(const char*) {
    return 1;
}
int VirtualKey_Send_KeyCode(int, int) {
    return 1;
}
void VirtualKey_Finalize(void) {}

// Answers at once: it is not installed.
int was_request_appid_by_runtitle(const char*, const char*, was_appid_fn callback, void* user_data) {
    callback("", 1, "", user_data);
    return 0;
}
