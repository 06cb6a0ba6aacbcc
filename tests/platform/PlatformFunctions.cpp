// The platform's C functions: each one hands over to the current double.

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

#include "FakePlatform.h"

namespace {

/// The action on the current double, or what a platform answers that is not there.
template <class Result, class Action>
Result Forward(Result absent, Action action) {
    const FakePlatform::Visit visit;
    return visit.platform() == nullptr ? absent : action(*visit.platform());
}

}  // namespace

int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result =
        Forward(-1, [&](FakePlatform& platform) { return platform.OnLog(log_id, priority, tag, format, arguments); });
    va_end(arguments);
    return result;
}
void _ASSERT(const char* expression, const char* file, int line) {
    Forward(0, [&](FakePlatform& platform) { return platform.OnAssert(expression, file, line), 0; });
}

int vconf_get_int(const char* key, int* value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnGetInt(key, value); });
}
int vconf_get_bool(const char* key, int* value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnGetBool(key, value); });
}
char* vconf_get_str(const char* key) {
    return Forward(static_cast<char*>(nullptr), [&](FakePlatform& platform) { return platform.OnGetStr(key); });
}
int vconf_set_int(const char* key, int value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnSetInt(key, value); });
}
int vconf_set_str(const char* key, const char* value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnSetStr(key, value); });
}
int vconf_notify_key_changed(const char* key, vconf_callback_fn callback, void* user_data) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnNotify(key, callback, user_data); });
}
int vconf_ignore_key_changed(const char* key, vconf_callback_fn callback) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnIgnore(key, callback); });
}
int vconf_keynode_get_int(keynode_t* node) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnNodeInt(node); });
}
int vconf_keynode_get_bool(keynode_t* node) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnNodeBool(node); });
}

int system_info_get_custom_bool(const char* key, bool* value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnCustomBool(key, value); });
}
int system_info_get_value_int(int key, int* value) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnValueInt(key, value); });
}
const char* tzplatform_getenv(int id) {
    return Forward(static_cast<const char*>("/nonexistent"),
                   [&](FakePlatform& platform) { return platform.OnGetenv(id); });
}

int aul_listen_app_status_signal(aul_app_status_fn handler, void* data) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnListen(handler, data); });
}
int aul_app_get_appid_bypid(int pid, char* appid, int length) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnAppId(pid, appid, length); });
}
int aul_app_get_status(const char* appid) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnStatus(appid); });
}

int screensaver_reset(void) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnScreensaverReset(); });
}
int device_power_subscribe_standby_event(device_power_standby_fn callback, void* user_data) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnSubscribe(callback, user_data); });
}
int device_power_unsubscribe_standby_event(device_power_standby_fn callback) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnUnsubscribe(callback); });
}
int device_power_get_state(void) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnGetState(); });
}
int device_power_set_wakeup_reason(int reason) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnSetWakeupReason(reason); });
}
int device_power_set_state(int state, int flag) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnSetState(state, flag); });
}

int gamepad_open_for_custom_mode(int mode, int unused) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnOpen(mode, unused); });
}
int gamepad_close(void) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnClose(); });
}
int gamepad_register_connection_callback(gamepad_connection_fn callback, void* user_data) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnRegister(callback, user_data); });
}
int gamepad_unregister_connection_callback(gamepad_connection_fn callback) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnUnregister(callback); });
}
int gamepad_register_gameapp_status_callback(gamepad_gameapp_status_fn callback, void* user_data) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnRegister(callback, user_data); });
}
int gamepad_unregister_gameapp_status_callback(gamepad_gameapp_status_fn callback) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnUnregister(callback); });
}
int gamepad_get_all_gameapp_info_list(char** text) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnGameApps(text); });
}
int gamepad_get_connected_gampad_count(void) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnCount(); });
}
int gamepad_get_connected_device_Info(struct _gamepad_device_info_s* info, unsigned char* flag, int index) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnInfo(info, flag, index); });
}
int gamepad_create_device(const char* uid, int* device_id) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnCreate(uid, device_id); });
}
int gamepad_destroy_device(int device_id) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnDestroy(device_id); });
}
int is_standard_gamepad(int device_id, bool* standard) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnIsStandard(device_id, standard); });
}
int gamepad_get_abs_value_range(int device_id, int axis, int* maximum, int* minimum) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnRange(device_id, axis, maximum, minimum); });
}
int gamepad_get_events(int device_id, struct _gamepad_event_s* events, int* count) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnGetEvents(device_id, events, count); });
}

int VirtualKey_Initialize(const char* client_name) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnInitialize(client_name); });
}
int VirtualKey_Send_KeyCode(int key_code, int action) {
    return Forward(0, [&](FakePlatform& platform) { return platform.OnSend(key_code, action); });
}
void VirtualKey_Finalize(void) {
    Forward(0, [&](FakePlatform& platform) { return platform.OnFinalize(), 0; });
}

int was_request_appid_by_runtitle(const char* runtitle, const char* etag, was_appid_fn callback, void* user_data) {
    return Forward(-1, [&](FakePlatform& platform) { return platform.OnRequest(runtitle, etag, callback, user_data); });
}
