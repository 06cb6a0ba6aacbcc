/* The timers of the Home button: arm, disarm, expiry and destruction.

   Mirrors EventHandler/src/GamepadTimer.cpp GamepadTimer::CreateTimer GamepadTimer::StartTimer GamepadTimer::StopTimer
   Mirrors EventHandler/src/GamepadTimer.cpp GamepadTimer::DestroyTimer GamepadTimer::m_StopThread GamepadTimer::t_Main
   Mirrors EventHandler/src/GamepadTimer.cpp GamepadTimer::m_WaitOnce GamepadTimer::m_IsDisarmedWithin
   Mirrors EventHandler/src/GamepadRemoteController.cpp GamepadRemoteController::m_StartHomeTimer
   Mirrors EventHandler/src/GamepadRemoteController.cpp GamepadRemoteController::m_StopHomeTimer
   Mirrors EventHandler/src/GamepadRemoteController.cpp GamepadRemoteController::t_OnCallback
   Mirrors EventHandler/src/GamepadRemoteController.cpp GamepadRemoteController::DeInitialize
   Mirrors Common/src/CallbackHandler.cpp CallbackHandler::RegisterCallback CallbackHandler::UnregisterCallback
   Mirrors Common/src/CallbackHandler.cpp CallbackHandler::ExecuteCallback CallbackHandler::Destroy
   Mirrors Common/include/CThread/CMutex.h Lock Unlock

   EVENTS presses and releases of any of THREADS pads, in any order, then the end of all timers. A button that is still
   held at the end stays so until its hold was answered, for as long as that takes; unless it went down in the very
   moment in which an earlier hold of it expired: that expiry disarms the timer for both.

   Check safety    EVENTS=5
   Check safety    EVENTS=4 TIMEOUTS=0
   Check safety    THREADS=2
   Check safety    THREADS=4 EVENTS=2 COARSE SPURIOUS=0 TIMEOUTS=1
   Check destroyed EVENTS=3
   Fault safety    FAULT_NO_DRAIN               a disarm that came before its wait ends the next one
   Fault safety    FAULT_NO_EXCEPTION           a press that comes as the last hold expires is not forgotten
   Fault safety    FAULT_END_WITHOUT_GIVE       nobody tells the idle thread to end
   Fault safety    FAULT_RELEASE_BEFORE_END     semaphores are destroyed while the thread uses them
   Fault safety    FAULT_CALLBACK_MUTEX_FIRST   the two locks of a callback are taken the other way round
   Fault destroyed FAULT_END_WITHOUT_GIVE       DestroyTimer does not return
*/

#ifndef THREADS
#define THREADS 1
#endif
#ifndef EVENTS
#define EVENTS 3
#endif

#define TimerLock(t) (1 + (t))
#define CallbackMutex (1 + THREADS)
#define LOCKS (2 + THREADS)

#define semTimer(t) (2 * THREADS + 4 * (t))
#define semThreadSync(t) (2 * THREADS + 4 * (t) + 1)
#define semCreateSync(t) (2 * THREADS + 4 * (t) + 2)
#define semRegistry(t) (2 * THREADS + 4 * (t) + 3)
#define SEMAPHORES (6 * THREADS)

#define MayTimeOut (timeoutsLeft > 0 || isHeldOn)

bool isHeldOn; /* nothing more happens but that time goes by */

#include "cthread.pml"

bool started[THREADS];    /* m_bStart */
bool mustExit[THREADS];   /* m_bExit */
bool registered[THREADS]; /* the controller, in the timer's registry */
byte owner[THREADS];      /* CMutex of the registry: pid + 1 */

bool down[THREADS];     /* the button */
byte holds[THREADS];    /* how often the button went down */
byte answered[THREADS]; /* the hold that was last answered by a key */
byte forgotten[THREADS]; /* the hold that an earlier one's expiry disarmed */
bool allDestroyed;

/* No thread of the service locks a registry's lock twice, so its count is left out. */
inline LockRegistry(t) {
    assert(owner[t] != _pid + 1);
    Take(semRegistry(t));
    owner[t] = _pid + 1
}
inline UnlockRegistry(t) {
    assert(owner[t] == _pid + 1);
    owner[t] = 0;
    Give(semRegistry(t))
}

inline StartTimer(t) {
    started[t] = true;
    Give(semThreadSync(t))
}
inline StopTimer(t) {
    bool was;
    atomic { was = started[t]; started[t] = false };
    if
    :: was -> Give(semTimer(t))
    :: else
    fi
}

/* A hold that is not the one whose wait has ended, but armed by now, is forgotten. */
inline NoteForgotten(t, hold) {
#ifndef FAULT_NO_EXCEPTION
    if
    :: started[t] && holds[t] != hold -> forgotten[t] = holds[t]
    :: else
    fi
#else
    skip
#endif
}

inline OnCallback(t, hold) {
    assert(registered[t]);
    atomic { assert(hold >= answered[t]); answered[t] = hold };
    atomic { NoteForgotten(t, hold); was = started[t]; started[t] = false };
    if
    :: was -> Give(semTimer(t))
    :: else
    fi
}
inline ExecuteCallback(t, hold) {
    LockRegistry(t);
    if
    :: registered[t] ->
        Lock(CallbackMutex);
        OnCallback(t, hold);
        Unlock(CallbackMutex)
    :: else
    fi;
    UnlockRegistry(t)
}

inline WaitOnce(t) {
    if
    :: !started[t]
    :: else ->
#ifndef FAULT_NO_DRAIN
        got = true;
        do
        :: got -> TryNow(semTimer(t), got)
        :: else -> break
        od;
#endif
        atomic { got = !started[t]; hold = holds[t] };
        if
        :: got
        :: else -> Try(semTimer(t), got)
        fi;
        if
        :: got
        :: else ->
            atomic { NoteForgotten(t, hold); started[t] = false };
            ExecuteCallback(t, hold)
        fi
    fi
}

proctype TimerThread(byte t) {
    bool got, was;
    byte hold;
    ThreadEnter(t);
    Give(semCreateSync(t));
    do
    :: mustExit[t] -> break
    :: else ->
        Take(semThreadSync(t));
        Lock(TimerLock(t));
        WaitOnce(t);
        Unlock(TimerLock(t))
    od;
    ThreadLeave(t)
}

inline CreateTimer(t) {
    CreateSemaphore(semRegistry(t), 1);
    CreateSemaphore(semTimer(t), 0);
    CreateSemaphore(semThreadSync(t), 0);
    CreateSemaphore(semCreateSync(t), 0);
    ThreadPrepare(t);
    run TimerThread(t);
    ThreadRelease(t);
    Take(semCreateSync(t));
    DestroySemaphore(semCreateSync(t))
}
inline DestroyTimer(t) {
    StopTimer(t);
    started[t] = false;
    mustExit[t] = true;
#ifndef FAULT_END_WITHOUT_GIVE
    Give(semThreadSync(t));
#endif
#ifdef FAULT_RELEASE_BEFORE_END
    DestroySemaphore(semRegistry(t));
    ThreadDestroy(t);
    CreateSemaphore(semRegistry(t), 1);
#else
    ThreadDestroy(t);
#endif
    DestroySemaphore(semRegistry(t));
    DestroySemaphore(semThreadSync(t));
    DestroySemaphore(semTimer(t))
}

inline Press(t) {
    if
    :: !down[t] -> atomic { holds[t]++; down[t] = true }
    :: else
    fi;
    if
    :: !FlagCreate(t) ->
        CreateTimer(t);
        LockRegistry(t);
        registered[t] = true;
        UnlockRegistry(t)
    :: else
    fi;
    StartTimer(t)
}
inline Release(t) {
    down[t] = false;
    if
    :: FlagCreate(t) -> StopTimer(t)
    :: else
    fi
}

inline Unregister(t) {
#ifdef FAULT_CALLBACK_MUTEX_FIRST
    Lock(CallbackMutex);
#endif
    LockRegistry(t);
    registered[t] = false;
    UnlockRegistry(t);
#ifdef FAULT_CALLBACK_MUTEX_FIRST
    Unlock(CallbackMutex)
#endif
}

/* The dispatcher's thread, and after its end the main thread. */
active proctype Service() {
    byte t, event;
    for (t : 0 .. THREADS - 1) { alive[t] = true }
    for (event : 1 .. EVENTS) {
        select (t : 0 .. THREADS - 1);
        if
        :: Press(t)
        :: Release(t)
        fi
    }
    isHeldOn = true;
    for (t : 0 .. THREADS - 1) {
        if
        :: down[t] -> answered[t] == holds[t] || forgotten[t] == holds[t]
        :: else
        fi
    }
    for (t : 0 .. THREADS - 1) {
        if
        :: FlagCreate(t) ->
            Unregister(t);
            DestroyTimer(t)
        :: else
        fi;
        alive[t] = false
    }
    allDestroyed = true
}

ltl destroyed { <> allDestroyed }
