#ifndef EVENTHANDLER_GAMEPADREMOTECONTROLLER_H
#define EVENTHANDLER_GAMEPADREMOTECONTROLLER_H

#include <atomic>
#include <cstdint>

#include "CallbackHandler.h"
#include "CombineKeyHandler.h"
#include "GamepadDevice.h"
#include "GamepadTimer.h"
#include "platform/gamepad.h"
#include "platform/vconf.h"

/// Turns gamepad events into virtual keys while the service is in menu mode.
///
/// Owner    the dispatcher, by value.
/// Threads  the dispatcher's with its m_tMenuModeLock held; without it: ReleaseVirtualKey when a pad leaves (the
/// gamepad
///          library's thread), t_OnCallback (a timer's thread), PlaydeckStatusChangeCallback (main thread).
/// Holds    at most one virtual key for the whole service, whichever pad pressed it; any pad may release it.
/// Units    key codes are the platform's, passed on untouched; -1 is "no key".
class GamepadRemoteController : public GCCallback {
public:
    GamepadRemoteController();
    ~GamepadRemoteController() override;

    /// A Home timer's expiry: type 0, data points at the device id.
    void t_OnCallback(int type, void* data, void*, void*) override;

    /// False when the virtual-key library refuses; nothing else is set up then.
    bool Initialize();
    /// Ends all threads of its parts. A key that is still held is not released.
    void DeInitialize();

    void SendRemoteControllerEvent(const _DeviceInfo& device, const _gamepad_event_s& event);
    /// Releases the held key, if there is one. Two threads at once release it once.
    void ReleaseVirtualKey();

    void HandleHomeKey(int deviceId, bool isMenuMode, const _gamepad_event_s& event);
    void m_HandleHomeKey(int deviceId, bool isMenuMode, const _gamepad_event_s& event);

    /// The settings store's notice; user_data is the controller.
    static void PlaydeckStatusChangeCallback(keynode_t* node, void* user_data);

private:
    /// Home is timed for device ids 0 to 3.
    static constexpr int TIMER_COUNT = 4;

    int m_CheckPressEvent(const _DeviceInfo& device, const _gamepad_event_s& event) const;
    bool m_CheckReleaseEvent(const _DeviceInfo& device, const _gamepad_event_s& event) const;
    int m_HomeVirtualKey() const;
    int m_ButtonVirtualKey(const _gamepad_event_s& event) const;
    void m_PressVirtualKey(int virtualKey, const _gamepad_event_s& event);
    void m_SendRelease(const char* operation);
    void m_SendHomeKey(int status, int deviceId);
    void m_HandleHomeHold(int deviceId, const _gamepad_event_s& event);
    void m_StartHomeTimer(int deviceId);
    void m_StopHomeTimer(int deviceId);

    std::atomic<int32_t> m_iPressedKeyCode{-1};
    std::atomic<int32_t> m_iPressedKeyType{-1};
    std::atomic<int32_t> m_iPressedVirtualKey{-1};
    std::atomic<bool> m_bIsPressed{false};
    CombineKeyHandler m_oCombineKeyHandler;
    std::atomic<int32_t> m_iPlaydeckStatus{0};
    GamepadTimer m_oHomeKeyTimer[TIMER_COUNT];
    std::atomic<bool> m_bOwesRelease{false};  ///< the held key's release was sent by nobody yet
};

#endif
