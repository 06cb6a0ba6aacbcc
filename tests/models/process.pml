/* The process: its start and its end against signals and the platform's notices.

   Mirrors Main/main.cpp main Initialize DeInitialize sig_handler QuitMainLoop AskMainLoopToQuit ReleaseMainLoop
   Mirrors Main/main.cpp SignalRelay::t_Main SignalRelay::m_HandleReceived SignalRelay::Destroy SignalRelay::~SignalRelay
   Mirrors Common/include/CThread/Singleton.h Lease GetInstance DestroyInstance
   Mirrors EventHandler/src/GamepadEventDispatcher.cpp GamepadEventDispatcher::Initialize
   Mirrors EventHandler/src/GamepadEventDispatcher.cpp GamepadEventDispatcher::DeInitialize
   Mirrors EventHandler/src/GamepadEventDispatcher.cpp GamepadEventDispatcher::StopRemains GamepadEventDispatcher::t_Main
   Mirrors EventHandler/src/GamepadEventDispatcher.cpp GamepadEventDispatcher::m_CloseGamepadLibrary
   Mirrors EventHandler/src/GamepadEventDispatcher.cpp GamepadConnectionChangeCB
   Mirrors EventHandler/src/GamepadMonitor.cpp GamepadMonitor::m_Watch GamepadMonitor::GiveUpWatches
   Mirrors ContextManager/src/GamepadContextManager.cpp GamepadContextManager::Initialize
   Mirrors ContextManager/src/GamepadContextManager.cpp GamepadContextManager::DeInitialize GamepadContextManager::StopListening
   Mirrors ContextManager/src/GamepadContextManager.cpp GamepadContextManager::RegisterGameAppPID
   Mirrors ContextManager/src/GamepadContextManager.cpp GamepadContextManager::m_AppStatusChanged GameAppStatusChangeCB

   The platform has two threads, as on Linux: one tells of pads, the other of everything else. Whoever stops listening
   waits until that thread has told what it tells. The start may fail at the monitor, and the gamepad library may refuse
   to open. Worker threads are started and waited for as thread.pml has it. A thread that pauses between two tries of a
   lock leaves the lock to whoever waits for it.

   Check safety
   Check exits     NOTICES=0
   Check exits     NOTICES=0 FAILING=0
   Fault safety    FAULT_NO_LEASE               a notice works on an instance that is destroyed
   Fault safety    FAULT_NO_BROADCAST           the end of the last lease is not told
   Fault safety    FAULT_UNWATCH_WHILE_DYING    a failed start gives up its watches with the singletons' locks held
   Fault safety    FAULT_STOP_WHILE_DYING       it waits for its thread with the singleton's lock held
   Fault safety    FAULT_UNREGISTER_LOCKED      the dispatcher stops listening with the device table locked
   Fault safety    FAULT_MODE_BEFORE_TABLE      two locks of the dispatcher are taken the other way round
   Fault exits     FAULT_QUIT_ONCE              a loop that does not run yet forgets that it was asked to end
   Fault exits     FAULT_RELAY_NOT_WOKEN        the relay is not told to end
*/

#ifndef NOTICES
#define NOTICES 1 /* of each thread of the platform */
#endif
#ifndef SIGUSR1
#define SIGUSR1 1
#endif
#ifndef FAILING
#define FAILING 1
#endif

#define ListLock 1       /* GamepadContextManager::m_tPIDListMutex */
#define SingletonLock(s) (2 + (s))
#define DeviceLock 4
#define MenuModeLock 5
#define LOCKS 6
#define SEMAPHORES 1

#include "sync.pml"

#define Manager 0
#define Dispatcher 1

bool exists[2];
bool initialized[2];
byte leases[2];
bool waitsForLeases[2];

bool accessible = true;  /* is_gamepad_service_accessible */
bool hasLoop, runs;      /* gLoop, and what g_main_loop_run looks at */
bool quitsLoop;          /* the handler's notes for the relay */
byte posts;
bool relayMustExit, relayEnded;
bool threadCreated, mustStop, threadEnded;
byte wanting[LOCKS];     /* how many wait while another pauses */

bool tellsPads, tellsGames, tellsFocus, tellsStandby; /* who is listened to */
bool inPads, inEvents;                                /* a notice is under way */
bool exited;

/* A section in which nothing waits is one step. */
inline Pass(l) {
    holder[l] == 0
}
inline PassAgainst(l) {
    wanting[l]++;
    atomic { Pass(l); wanting[l]-- }
}
inline PauseAfter(l) {
    wanting[l] == 0
}

/* --- Singleton --- */

inline GetInstance(s) {
    atomic { Pass(SingletonLock(s)); exists[s] = true }
}
inline LeaseBegin(s) {
    atomic {
        GetInstance(s);
#ifdef FAULT_NO_LEASE
        skip
#else
        leases[s]++
#endif
    }
}
inline LeaseEnd(s) {
#ifdef FAULT_NO_LEASE
    skip
#else
    atomic {
        Pass(SingletonLock(s));
        leases[s]--;
#ifndef FAULT_NO_BROADCAST
        waitsForLeases[s] = (leases[s] == 0 -> false : waitsForLeases[s])
#endif
    }
#endif
}
/* Up to the destructor, with the lock held; Deleted comes after it. */
inline BeginDelete(s) {
    Lock(SingletonLock(s));
    do
    :: leases[s] > 0 ->
        atomic { waitsForLeases[s] = true; Unlock(SingletonLock(s)) };
        !waitsForLeases[s];
        Lock(SingletonLock(s))
    :: else -> break
    od
}
inline Deleted(s) {
    exists[s] = false;
    initialized[s] = false;
    Unlock(SingletonLock(s))
}

/* --- What notices do --- */

inline ChangeMenuMode() {
    LeaseBegin(Dispatcher);
    assert(exists[Dispatcher]);
    if
    :: initialized[Dispatcher] -> atomic { Pass(MenuModeLock); assert(exists[Dispatcher]) }
    :: else
    fi;
    LeaseEnd(Dispatcher)
}
inline RegisterGameApp() {
    assert(exists[Manager]);
    if
    :: initialized[Manager] ->
        Lock(ListLock);
        assert(exists[Manager]);
        if
        :: ChangeMenuMode()
        :: skip
        fi;
        Unlock(ListLock)
    :: else
    fi
}
inline ConnectionChanged() {
    LeaseBegin(Dispatcher);
#ifdef FAULT_MODE_BEFORE_TABLE
    Lock(MenuModeLock);
#endif
    PassAgainst(DeviceLock);
#ifdef FAULT_MODE_BEFORE_TABLE
    Unlock(MenuModeLock);
#endif
    LeaseEnd(Dispatcher)
}
inline GameAppChanged() {
    LeaseBegin(Manager);
    RegisterGameApp();
    LeaseEnd(Manager)
}
inline FocusChanged() {
    atomic { Pass(ListLock); assert(exists[Manager]) };
    ChangeMenuMode()
}
inline StandbyNoticed() {
    assert(exists[Dispatcher])
}

/* --- The platform --- */

inline StopListening(tells, isInside) {
    atomic { !isInside -> tells = false }
}

#if NOTICES
proctype HotPlug() {
    byte i;
    for (i : 1 .. NOTICES) {
        if
        :: atomic { tellsPads -> inPads = true }; ConnectionChanged(); inPads = false
        :: skip
        fi
    }
}

proctype Events() {
    byte i;
    for (i : 1 .. NOTICES) {
        if
        :: atomic { tellsGames -> inEvents = true }; GameAppChanged(); inEvents = false
        :: atomic { tellsFocus -> inEvents = true }; FocusChanged(); inEvents = false
        :: atomic { tellsStandby -> inEvents = true }; StandbyNoticed(); inEvents = false
        :: skip
        fi
    }
}
#endif

/* --- Main loop and signals --- */

/* Asking the loop and releasing it are one step each: s_tLoopLock sees to that. */
inline QuitMainLoop() {
    bool asked;
    atomic { asked = hasLoop; runs = runs && !asked };
    if
    :: asked -> quitsLoop = true; posts++
    :: else
    fi
}

inline Handle() {
    if
    :: hasLoop -> quitsLoop = true
    :: else
    fi;
    posts++
}
/* One signal at any moment, and one that finds a loop, if ever there is one. */
proctype Signals() {
    if
    :: SIGUSR1 -> accessible = false; Handle()
    :: Handle()
    :: skip
    fi;
    if
    :: hasLoop || exited -> Handle()
    fi
}

inline HandleReceived() {
    bool quits;
    atomic { quits = quitsLoop; quitsLoop = false };
    if
    :: quits ->
        do
        :: !hasLoop -> break
        :: atomic { hasLoop -> runs = false };
#ifdef FAULT_QUIT_ONCE
            break
#endif
        od
    :: else
    fi
}
proctype Relay() {
    do
    :: relayMustExit -> break
    :: else -> atomic { posts > 0 -> posts-- }; HandleReceived()
    od;
    relayEnded = true
}

/* --- The dispatcher's thread --- */

inline CloseGamepadLibrary() {
#ifdef FAULT_UNREGISTER_LOCKED
    Lock(DeviceLock);
#endif
    if
    :: accessible -> StopListening(tellsPads, inPads); StopListening(tellsGames, inEvents)
    :: else
    fi;
#ifdef FAULT_UNREGISTER_LOCKED
    Unlock(DeviceLock)
#endif
}

proctype DispatcherThread() {
    if
    :: FAILING -> QuitMainLoop()
    :: true ->
        tellsPads = true;
        tellsGames = true;
        GetInstance(Manager);
        RegisterGameApp();
        do
        :: mustStop -> break
        :: else ->
            Lock(DeviceLock);
            atomic { Pass(MenuModeLock); assert(exists[Dispatcher]) };
            Unlock(DeviceLock);
            PauseAfter(DeviceLock)
        od;
        Pass(DeviceLock);
        CloseGamepadLibrary()
    fi;
    threadEnded = true
}
inline StopThread() {
    if
    :: threadCreated -> mustStop = true; threadEnded; threadCreated = false
    :: else
    fi
}

/* --- The main thread --- */

inline GiveUpWatches() {
    StopListening(tellsStandby, inEvents)
}

/* ~GamepadEventDispatcher and ~GamepadContextManager give up what is left, under the singletons' locks. */
inline DestroyDispatcher() {
    BeginDelete(Dispatcher);
    StopThread();
    if
    :: tellsStandby -> GiveUpWatches()
    :: else
    fi;
    Deleted(Dispatcher)
}
inline DestroyManager() {
    BeginDelete(Manager);
    if
    :: tellsFocus -> StopListening(tellsFocus, inEvents)
    :: else
    fi;
    Deleted(Manager)
}

inline StartFailed() {
    PassAgainst(DeviceLock);
#ifndef FAULT_STOP_WHILE_DYING
    StopThread();
#endif
#ifndef FAULT_UNWATCH_WHILE_DYING
    GiveUpWatches();
    StopListening(tellsFocus, inEvents);
#endif
    DestroyDispatcher();
    DestroyManager()
}

inline RunToTheEnd() {
    hasLoop = true;
    runs = true;
    !runs;
    hasLoop = false;
    GetInstance(Dispatcher);
    StopThread();
    GiveUpWatches();
    initialized[Dispatcher] = false;
    GetInstance(Manager);
    StopListening(tellsFocus, inEvents);
    initialized[Manager] = false;
    DestroyManager();
    DestroyDispatcher()
}

inline EndRelay() {
    relayMustExit = true;
#ifndef FAULT_RELAY_NOT_WOKEN
    posts++;
#endif
    relayEnded;
    HandleReceived()
}

active proctype Main() {
    run Signals();
#if NOTICES
    run HotPlug();
    run Events();
#endif
    GetInstance(Manager);
    GetInstance(Dispatcher);
    tellsFocus = true;
    initialized[Manager] = true;
    threadCreated = true;
    run DispatcherThread();
    tellsStandby = true;
    if
    :: FAILING -> StartFailed(); HandleReceived()
    :: true -> initialized[Dispatcher] = true; run Relay(); RunToTheEnd(); EndRelay()
    fi;
    exited = true
}

ltl exits { <> exited }
