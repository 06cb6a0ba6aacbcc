#ifndef EVENTHANDLER_GAMEPADTIMER_H
#define EVENTHANDLER_GAMEPADTIMER_H

#include <atomic>
#include <cstdint>

#include "CThread/CRawMutex.h"
#include "CThread/CSemaphore.h"
#include "CThread/CThread.h"
#include "CThread/LockOrder.h"
#include "CallbackHandler.h"

/// A one-shot timer with a thread of its own, "gamepad-timer-thread": armed by StartTimer, disarmed by StopTimer; when
/// the wait runs out it fires its callbacks with event 0 and a pointer to the device id.
///
/// Life     construct, CreateTimer, StartTimer and StopTimer as often as needed, DestroyTimer, destruct.
/// Threads  CreateTimer and DestroyTimer by the owner; StartTimer and StopTimer from any thread, without a lock.
/// Locks    m_tTimerLock is held by the thread during a wait and while the callbacks run.
class GamepadTimer : public CThread, public CallbackHandler {
public:
    GamepadTimer() = default;

    void t_Main() override;
    ~GamepadTimer() override;

    /// Makes the thread and waits until it runs. False when something could not be made; nothing is left then.
    bool CreateTimer(unsigned long waitMSec, int deviceId);
    void StartTimer();
    void StopTimer();
    /// Ends the thread, waits for it and releases all that CreateTimer made.
    void DestroyTimer();

    void SetWaitMSec(unsigned long waitMSec);
    unsigned long GetWaitMSec();

private:
    void m_StopThread();
    bool m_CreateSemaphores();
    bool m_CreateThread();
    void m_DestroySemaphores();
    void m_WaitOnce() REQUIRES(m_tTimerLock);
    bool m_IsDisarmedWithin(unsigned long waitMSec);

    int32_t m_iDeviceId = -1;
    unsigned long m_ulWaitMSec GUARDED_BY(m_tTimerLock) = 0;
    std::atomic<bool> m_bStart{false};  ///< armed
    std::atomic<bool> m_bExit{false};
    CSemaphore m_semTimer;       ///< given to cut a running wait short
    CSemaphore m_semThreadSync;  ///< given to wake the thread: arm, or end
    CSemaphore m_semCreateSync;  ///< given by the new thread once it runs
    CRawMutex m_tTimerLock ACQUIRED_AFTER(lock_order::AfterMenuMode) ACQUIRED_BEFORE(lock_order::AfterTimer);
};

#endif
