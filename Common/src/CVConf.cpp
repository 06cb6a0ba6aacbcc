#include "CVConf.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

#include "Log.h"

namespace {

constexpr char PLAYDECK_STATUS[] = "memory/accessory/playnest_status";
constexpr char GAMEPAD_ACTIVE[] = "memory/accessory/gamepad_active";
constexpr char DOWNLOADABLE_RUNTITLE[] = "memory/accessory/downloadable_runtitle";
constexpr char SCREENSAVER[] = "memory/window_system/screensaver_on_off";
constexpr char EASY_WAKEUP[] = "db/menu/connection/easy-wakeup";
constexpr char DISCLAIMER_AGREE[] = "db/menu/homeview/homedatacontrol/defaultdisclaimeragree";
constexpr char COUNTRY_CODE[] = "db/comss/countrycode";

struct FreeText {
    void operator()(char* text) const { free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

// Reads with vconf_get_int or vconf_get_bool; speaks for `operation`.
bool GetLogged(const char* operation, int (*get)(const char*, int*), const char* key, int& value) {
    if (get(key, &value) != 0) {
        LOG_AS(operation, __LINE__, DLOG_INFO, "Get vconf [%s] value failed.", key);
        return false;
    }
    LOG_AS(operation, __LINE__, DLOG_INFO, "Get vconf [%s] value [%d]", key, value);
    return true;
}

}  // namespace

void CVConf::RegisterPlaydeckStatusCallback(vconf_callback_fn callback, void* user_data) {
    if (vconf_notify_key_changed(PLAYDECK_STATUS, callback, user_data) == -1) {
        LOGI("RegisterPlaydeckStatusCallback Err");
    }
}

void CVConf::UnRegisterPlaydeckStatusCallback(vconf_callback_fn callback) {
    vconf_ignore_key_changed(PLAYDECK_STATUS, callback);
}

bool CVConf::GetPlaydeckStatus(int& value) {
    return GetLogged(__func__, vconf_get_int, PLAYDECK_STATUS, value);
}

void CVConf::GetGamepadActive(int& value) {
    GetLogged(__func__, vconf_get_int, GAMEPAD_ACTIVE, value);
}

void CVConf::SetGamepadActive(int value) {
    if (vconf_set_int(GAMEPAD_ACTIVE, value) == 0) {
        LOGI("Set [%s] to [%d] success.", GAMEPAD_ACTIVE, value);
    } else {
        LOGI("Set [%s] to [%d] failed.", GAMEPAD_ACTIVE, value);
    }
}

void CVConf::GetAPPConfigInfo(std::string& value) {
    const Text text(vconf_get_str(DOWNLOADABLE_RUNTITLE));
    try {
        if (text != nullptr) {
            value = text.get();
        }
    } catch (const std::exception& error) {
        LOGE("Get vconf [%s]: %s", DOWNLOADABLE_RUNTITLE, error.what());
    }
    LOGI("applist info:[%s]", value.c_str());
}

void CVConf::SetAPPConfigInfo(std::string value) {  // NOLINT(performance-unnecessary-value-param): the interface's form
    if (vconf_set_str(DOWNLOADABLE_RUNTITLE, value.c_str()) == 0) {
        LOGI("Set [%s] to [%s] success.", DOWNLOADABLE_RUNTITLE, value.c_str());
    } else {
        LOGI("Set [%s] to [%s] failed.", DOWNLOADABLE_RUNTITLE, value.c_str());
    }
}

void CVConf::RegisterScreenSaverStatusCallback(vconf_callback_fn callback, void* user_data) {
    if (vconf_notify_key_changed(SCREENSAVER, callback, user_data) == -1) {
        LOGI("RegisterGetScreenSaverCallback Err");
    }
}

void CVConf::UnRegisterScreenSaverStatusCallback(vconf_callback_fn callback) {
    vconf_ignore_key_changed(SCREENSAVER, callback);
}

bool CVConf::GetScreenSaverValue(int& value) {
    return GetLogged(__func__, vconf_get_bool, SCREENSAVER, value);
}

bool CVConf::IsEasyWakeup() {
    int value = 0;
    if (vconf_get_int(EASY_WAKEUP, &value) != 0) {
        LOGI("Get vconf [%s] value failed.", EASY_WAKEUP);
        return false;
    }
    LOGI("easy wakeup is %s enabled", value == 1 ? "" : "NOT");
    return value == 1;
}

bool CVConf::IsPolicyAccpted() {
    int value = 0;
    if (vconf_get_int(DISCLAIMER_AGREE, &value) != 0) {
        LOGI("Get vconf [%s] value failed.", DISCLAIMER_AGREE);
        return false;
    }
    LOGI("User %s accept policy, vconf value is[%s:%d]", value != 0 ? "already" : "did not", DISCLAIMER_AGREE, value);
    return value != 0;
}

bool CVConf::IsChinaCountryCode() {
    const Text code(vconf_get_str(COUNTRY_CODE));
    LOGI("countrycode = %s", code.get());
    return code != nullptr && strcmp(code.get(), "CN") == 0;
}
