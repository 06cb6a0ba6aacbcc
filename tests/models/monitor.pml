/* The activity monitor: its wake-up, its stop, and the notices that reach it.

   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::Create GamepadMonitor::Start GamepadMonitor::Stop
   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::Destroy GamepadMonitor::t_Main
   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::IncreaseActiveNumber GamepadMonitor::m_ResetScreenSaver
   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::ScreenSaverStatusCallback GamepadMonitor::PowerOffCallback
   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::~GamepadMonitor GamepadMonitor::m_Unwatch

   The owner's thread also brings the store's notices, as the main loop does; the power service has a thread of its own.
   Activity while the screensaver shows has to be followed by a reset, and the stop by the thread's end, without waiting
   for the 30 s of a cycle: nothing but the budget lets that time run out.

   Check safety    TIMEOUTS=0
   Check safety    TIMEOUTS=2
   Check reset     TIMEOUTS=1 COARSE
   Check destroyed TIMEOUTS=1 COARSE
   Fault safety    FAULT_STOP_WITHOUT_GIVE      the thread sleeps on
   Fault safety    FAULT_GIVE_BEFORE_FLAG       the thread wakes, sees no stop and sleeps on
   Fault safety    FAULT_STOPPED_UNTIL_START    the thread ends before it is started
   Fault safety    FAULT_ACTIVITY_WITHOUT_GIVE  the screensaver shows for the rest of the cycle
   Fault safety    FAULT_UNWATCH_AT_LAST        a notice finds the lock destroyed
   Fault safety    FAULT_SEMAPHORE_FIRST        the thread wakes in a semaphore that is gone
   Fault reset     FAULT_ACTIVITY_WITHOUT_GIVE  the same, as a search for an endless run
   Fault destroyed FAULT_GIVE_BEFORE_FLAG
*/

#define THREADS 1
#define Monitor 0
#define semMonitor 2
#define SEMAPHORES 3

#define tMutex 1
#define WatchLock 2 /* the power service's: a notice and its end do not overlap */
#define LOCKS 3

#ifndef ACTIVITIES
#define ACTIVITIES 2
#endif

#include "cthread.pml"

bool mustStop = true;
bool screenSaverOn;
bool isActive;
bool easyWakeup;
bool mutexUsable = true;
bool watching;

bool owesReset; /* there was activity while the screensaver showed */
bool dispatcherEnded;
bool isDestroyed;

inline LockMutex() { assert(mutexUsable); Lock(tMutex) }
inline UnlockMutex() { assert(mutexUsable); Unlock(tMutex) }

proctype MonitorThread() {
    bool got;
    ThreadEnter(Monitor);
    do
    :: mustStop -> break
    :: else ->
        LockMutex();
        if
        :: isActive -> isActive = false; owesReset = false
        :: else
        fi;
        UnlockMutex();
        Try(semMonitor, got)
    od;
    ThreadLeave(Monitor)
}

inline IncreaseActiveNumber() {
    LockMutex();
    isActive = true;
    if
    :: screenSaverOn ->
        owesReset = true;
#ifndef FAULT_ACTIVITY_WITHOUT_GIVE
        Give(semMonitor)
#endif
    :: else
    fi;
    easyWakeup = false;
    UnlockMutex()
}

proctype Dispatcher() {
    byte i;
    for (i : 1 .. ACTIVITIES) {
        IncreaseActiveNumber()
    }
    dispatcherEnded = true
}

inline ScreenSaverStatusCallback(isOn) {
    LockMutex();
    screenSaverOn = isOn;
    UnlockMutex()
}

proctype PowerService() {
    byte i;
    for (i : 1 .. 2) {
        Lock(WatchLock);
        if
        :: watching ->
            LockMutex();
            easyWakeup = true;
            UnlockMutex()
        :: else
        fi;
        Unlock(WatchLock)
    }
}

inline Unwatch() {
    Lock(WatchLock);
    watching = false;
    Unlock(WatchLock)
}

inline Stop() {
#if defined(FAULT_GIVE_BEFORE_FLAG)
    Give(semMonitor);
    mustStop = true
#elif defined(FAULT_STOP_WITHOUT_GIVE)
    mustStop = true
#else
    mustStop = true;
    Give(semMonitor)
#endif
}

active proctype Owner() {
    alive[Monitor] = true;
    watching = true;
    run PowerService();
#ifndef FAULT_STOPPED_UNTIL_START
    mustStop = false;
#endif
    CreateSemaphore(semMonitor, 1);
    ThreadPrepare(Monitor);
    run MonitorThread();
    ThreadRelease(Monitor);
    mustStop = false;
    run Dispatcher();
    ScreenSaverStatusCallback(true);
    dispatcherEnded;
    !owesReset; /* the loop runs for long after */
    Stop();
#ifdef FAULT_SEMAPHORE_FIRST
    DestroySemaphore(semMonitor);
#endif
    ThreadDestroy(Monitor);
#ifndef FAULT_UNWATCH_AT_LAST
    Unwatch();
#endif
#ifndef FAULT_SEMAPHORE_FIRST
    DestroySemaphore(semMonitor);
#endif
    LockMutex();
    UnlockMutex();
    mutexUsable = false;
    alive[Monitor] = false;
    isDestroyed = true;
#ifdef FAULT_UNWATCH_AT_LAST
    Unwatch()
#endif
}

ltl reset { [] (owesReset -> <> !owesReset) }
ltl destroyed { <> isDestroyed }
