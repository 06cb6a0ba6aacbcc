#ifndef EVENTHANDLER_GAMEPADEVENTDISPATCHER_H
#define EVENTHANDLER_GAMEPADEVENTDISPATCHER_H

#include <atomic>
#include <cstddef>
#include <vector>

#include "AppLauncher.h"
#include "CThread/CRawMutex.h"
#include "CThread/CThread.h"
#include "CThread/LockOrder.h"
#include "CThread/Singleton.h"
#include "GamepadDevice.h"
#include "GamepadMonitor.h"
#include "GamepadRemoteController.h"
#include "platform/gamepad.h"

/// The centre of the service: owns the table of open gamepads, polls it every 50 ms on a thread of its own and routes
/// each event to the launcher, the Home key or the translator. In menu mode (no game has the focus) events become keys;
/// outside it they only release a held key.
///
/// Life     one instance, through Singleton; Initialize, DeInitialize, destruct.
/// Threads  t_Main on "GamepadEventDispatcher"; AddGamepadDevice and RemoveGamepadDevice on the gamepad library's
/// thread
///          (they may wait for the length of a pass); StartMenuMode and StopMenuMode from any (they wait for one event
///          at most); Initialize and DeInitialize on the main thread.
/// Locks    m_tDeviceLock for a whole pass, inside it m_tMenuModeLock for one event.
class GamepadEventDispatcher : public CThread, public Singleton<GamepadEventDispatcher> {
public:
    GamepadEventDispatcher();

    void t_Main() override;
    ~GamepadEventDispatcher() override;

    /// True also when it is initialised already.
    bool Initialize();
    void DeInitialize();
    /// Ends what a start that failed has left running: the polling thread, the monitor's watches.
    void StopRemains();

    /// Both are refused before Initialize has finished; asking for the current mode only logs.
    void StartMenuMode();
    void StopMenuMode();

    /// Opens the pad and appends it to the table. The same uid twice gives two records.
    void AddGamepadDevice(const char* uid);
    /// Closes the first pad with this uid and releases the held key, also when there is no such pad.
    void RemoveGamepadDevice(const char* uid);

private:
    bool m_CreateThreads();
    bool m_OpenGamepadLibrary();
    void m_CloseGamepadLibrary();
    bool m_GetAllGameAppInfo();
    void m_RegisterGameApps(char* list);
    void m_EnumerateAllGamepadDevices();
    void m_DestroyAllGamepadDevices();
    static void m_GetThresholdValue(const long& maximum, const long& minimum, long& upper, long& lower);
    static void m_ReadThresholds(_DeviceInfo& device);
    void m_AppendDevice(const _DeviceInfo& device);
    void m_PollAllDevices();
    void m_PollDevice(const _DeviceInfo& device);
    void m_RouteEvent(const _DeviceInfo& device, const _gamepad_event_s& event);

    std::atomic<bool> m_bIsInitialized{false};
    std::atomic<bool> m_bIsStopThread{false};
    std::atomic<bool> m_bIsMenuMode{true};  ///< changes under m_tMenuModeLock
    CRawMutex m_tMenuModeLock ACQUIRED_AFTER(lock_order::AfterDevice) ACQUIRED_BEFORE(lock_order::AfterMenuMode);
    CRawMutex m_tDeviceLock ACQUIRED_AFTER(lock_order::AfterSingleton) ACQUIRED_BEFORE(lock_order::AfterDevice);
    std::vector<_DeviceInfo> m_vDeviceInfoList GUARDED_BY(m_tDeviceLock);
    AppLauncher m_oAppLauncher;
    GamepadRemoteController m_oRemoteController;
    GamepadMonitor m_oGamepadMonitor;
};

#endif
