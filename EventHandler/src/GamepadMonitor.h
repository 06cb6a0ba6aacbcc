#ifndef EVENTHANDLER_GAMEPADMONITOR_H
#define EVENTHANDLER_GAMEPADMONITOR_H

#include <atomic>
#include <cstdint>

#include "CThread/CRawMutex.h"
#include "CThread/CSemaphore.h"
#include "CThread/CThread.h"
#include "CThread/LockOrder.h"
#include "platform/device_power.h"
#include "platform/vconf.h"

/// Keeps the TV awake while a gamepad is used: at most once per cycle it resets the screensaver and publishes how often
/// gamepads were used; a press while the screensaver shows resets it at once, and a press in standby wakes the device
/// where the user allows it.
///
/// Life     construct, Create, Start at once, Destroy, destruct.
/// Threads  IncreaseActiveNumber on the dispatcher's; t_Main on "GamepadMonitor"; ScreenSaverStatusCallback on the main
///          thread; PowerOffCallback on the power service's.
/// Locks    m_tMutex guards all members but m_bStop and is held while the platform is called.
class GamepadMonitor : public CThread {
public:
    GamepadMonitor();

    void t_Main() override;
    ~GamepadMonitor() override;
    /// Ends the thread, waits for it and gives up all watches.
    void Destroy() override;

    /// STATUS_SUCCESS, or STATUS_FAILURE when there is no thread.
    int Create();
    void Start();
    void Stop();
    /// For a Create that failed and left its watches in place; waits for a notice that is under way. Once is enough.
    void GiveUpWatches();

    /// A batch of gamepad events was read.
    void IncreaseActiveNumber();

    /// Notices; user_data is the monitor.
    static void ScreenSaverStatusCallback(keynode_t* node, void* user_data);
    static void PowerOffCallback(_device_poweroff_info* info, void* user_data);

private:
    void m_Watch();
    void m_Unwatch();
    void m_PublishActivity() REQUIRES(m_tMutex);
    void m_ResetScreenSaver() REQUIRES(m_tMutex);
    void m_WakeUp() REQUIRES(m_tMutex);

    std::atomic<bool> m_bStop{true};
    bool m_bIsEasyWakeupForPowerOff GUARDED_BY(m_tMutex) = false;  ///< the next activity wakes the device
    int64_t m_llActiveNumber GUARDED_BY(m_tMutex) = 0;
    int64_t m_llLastActiveNumber GUARDED_BY(m_tMutex) = 0;  ///< as last published
    bool m_bScreenSaverOn GUARDED_BY(m_tMutex) = false;
    bool m_bActive GUARDED_BY(m_tMutex) = false;  ///< activity since the last cycle
    CRawMutex m_tMutex ACQUIRED_AFTER(lock_order::AfterDevice) ACQUIRED_BEFORE(lock_order::BeforeTimeMutex);
    CSemaphore m_semMonitor;     ///< the thread's wake-up
    bool m_bIsWatching = false;  ///< the owner's thread only
};

#endif
