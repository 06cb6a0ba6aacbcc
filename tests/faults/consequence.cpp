#include "trial.h"

namespace {

struct Rule {
    const char* function;
    int nth;  ///< 0: every call
    Consequence consequence;
};

const std::vector<Rule>& Rules() {
    static const std::vector<Rule> rules = {
        {"VirtualKey_Initialize", 0, {-1, "Call[VirtualKey_Initialize]err[0]", {}, false}},
        {"aul_listen_app_status_signal", 1, {-1, "Call[aul_listen_app_status_signal]err", {}, false}},
        {"aul_listen_app_status_signal", 0, {0, "quorvex Exit", {"app status listener"}, false}},
        {"pthread_create", 1, {-1, "Create[GamepadEventDispatcher]failed!", {}, false}},
        {"pthread_create", 2, {-1, "Create[GamepadMonitor] thread failed!", {}, false}},
        {"pthread_create", 3, {-1, "Create[SignalRelay]failed!", {}, false}},
        {"pthread_create", 4, {0, "Create gamepad-timer-thread ERROR", {}, false}},
        {"pthread_create", 5, {0, "CreateThread failed.", {}, false}},
        {"pthread_attr_init", 1, {-1, "Create[GamepadEventDispatcher]failed!", {}, false}},
        {"pthread_attr_init", 2, {-1, "Create[GamepadMonitor] thread failed!", {}, false}},
        {"pthread_attr_init", 3, {-1, "Create[SignalRelay]failed!", {}, false}},
        {"pthread_attr_init", 4, {0, "Create gamepad-timer-thread ERROR", {}, false}},
        {"pthread_attr_init", 5, {0, "CreateThread failed.", {}, false}},
        {"g_main_loop_new", 0, {-1, "gLoop is NULL!", {}, false}},
        {"gamepad_open_for_custom_mode",
         0,
         {0, "Call[gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU)]failed, exit[quorvex]process", {}, false}},
        {"gamepad_close", 0, {0, "", {"gamepad connection"}, false}},
        {"gamepad_register_connection_callback", 0, {0, "", {}, true}},
        {"gamepad_register_gameapp_status_callback", 0, {0, "", {}, true}},
        {"gamepad_unregister_connection_callback", 0, {0, "", {"connection callback"}, false}},
        {"gamepad_unregister_gameapp_status_callback", 0, {0, "", {"game-app callback"}, false}},
        {"gamepad_create_device", 1, {0, "Call[gamepad_create_device]with[one]err", {}, false}},
        {"gamepad_create_device", 2, {0, "Call[gamepad_create_device]with[two]err", {}, false}},
        {"gamepad_destroy_device", 0, {0, "", {"device 0", "device 1"}, false}},
        {"gamepad_get_all_gameapp_info_list", 0, {0, "Call[gamepad_get_all_gameapp_info_list]err", {}, false}},
        {"gamepad_get_connected_gampad_count", 0, {0, "The connected device count is 0", {}, false}},
        {"gamepad_get_connected_device_Info", 0, {0, "error in getting gamepad info with id [0]", {}, false}},
        {"vconf_notify_key_changed", 1, {0, "RegisterPlaydeckStatusCallback Err", {}, true}},
        {"vconf_notify_key_changed", 2, {0, "RegisterGetScreenSaverCallback Err", {}, true}},
        {"vconf_ignore_key_changed",
         0,
         {0,
          "",
          {"watch of memory/accessory/playnest_status", "watch of memory/window_system/screensaver_on_off"},
          false}},
        {"vconf_get_int", 1, {0, "Get vconf [memory/accessory/playnest_status] value failed.", {}, false}},
        {"vconf_set_int", 0, {0, "Set [memory/accessory/gamepad_active] to [", {}, false}},
        {"screensaver_reset", 0, {0, "Call[screensaver_reset]err", {}, false}},
        {"system_info_get_custom_bool", 1, {0, "FMS smart_monitor_feature_support get failed ", {}, true}},
        {"system_info_get_custom_bool",
         0,
         {0, "FMS smart_monitor_feature_support get failed ", {"standby subscription"}, true}},
        {"device_power_subscribe_standby_event", 0, {0, "Subscribe standby event failed!", {}, true}},
        {"device_power_unsubscribe_standby_event", 0, {0, "", {"standby subscription"}, false}},
        {"tzplatform_getenv", 1, {0, "Default[/accessory/app_config.json] doesn't exist", {}, false}},
        {"access", 2, {0, "/accessory/app_config.json] doesn't exist", {}, false}},
        {"stat", 0, {0, "/accessory/app_config.json]err", {}, false}},
        {"was_request_appid_by_runtitle", 0, {0, "Call[was_request_appid_by_runtitle]ret[-1]", {}, false}},
        {"VirtualKey_Send_KeyCode", 0, {0, "", {}, true}},
        {"gettimeofday", 0, {0, "gettimeofday()", {}, false}},
        {"prctl", 0, {0, "inline: prctl()", {}, false}},
        {"pthread_mutex_lock(TimeMutex)", 0, {0, "pthread_mutex_lock()", {}, false}},
        {"pthread_mutex_unlock(TimeMutex)", 0, {0, "pthread_mutex_unlock()", {}, false}},
        {"pthread_cond_destroy", 0, {0, "pthread_cond_destroy()", {}, false}},
        {"pthread_cond_wait", 0, {0, "pthread_cond_wait()", {}, false}},
        {"pthread_cond_timedwait", 0, {0, "pthread_cond_timedwait()", {}, false}},
        {"pthread_cond_signal", 0, {0, "pthread_cond_signal()", {}, false}},
    };
    return rules;
}

}  // namespace

Consequence ConsequenceOf(const Fault& fault) {
    for (const Rule& rule : Rules()) {
        if (rule.function == fault.function && (rule.nth == 0 || rule.nth == fault.nth)) {
            return rule.consequence;
        }
    }
    return {};
}
