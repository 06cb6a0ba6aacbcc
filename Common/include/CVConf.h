#ifndef COMMON_CVCONF_H
#define COMMON_CVCONF_H

#include <string>

#include "platform/vconf.h"

/// Every access of the service to the settings store; the keys below are all that it touches.
///
/// Threads  any; change callbacks arrive through the process's main loop.
/// Errors   every failure is logged with its key and turned into the result that the operation names; nothing throws.
class CVConf {
public:
    /// Watches the game-hub status (int) until the matching UnRegister call with the same callback.
    static void RegisterPlaydeckStatusCallback(vconf_callback_fn callback, void* user_data);
    static void UnRegisterPlaydeckStatusCallback(vconf_callback_fn callback);
    /// False on failure; the value is then as the platform left it.
    static bool GetPlaydeckStatus(int& value);

    /// How often gamepads were used, as last published. An unreadable value is only logged.
    static void GetGamepadActive(int& value);
    static void SetGamepadActive(int value);

    /// The downloadable run titles, an opaque text. Without one, the string keeps what it holds.
    static void GetAPPConfigInfo(std::string& value);
    static void SetAPPConfigInfo(std::string value);

    /// Watches whether the screensaver shows (bool).
    static void RegisterScreenSaverStatusCallback(vconf_callback_fn callback, void* user_data);
    static void UnRegisterScreenSaverStatusCallback(vconf_callback_fn callback);
    /// False on failure; the value is then as the platform left it.
    static bool GetScreenSaverValue(int& value);

    /// The user lets a connected device wake the TV: the stored value is exactly 1.
    static bool IsEasyWakeup();
    /// The user has accepted the terms of the smart services: any value but 0.
    static bool IsPolicyAccpted();
    /// The country code is exactly "CN".
    static bool IsChinaCountryCode();
};

#endif
