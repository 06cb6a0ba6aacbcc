/* Two buttons held together: the start of the thread that measures the hold, its polls and its stop.

   Mirrors EventHandler/src/CombineKeyHandler.cpp CombineKeyHandler::m_HandlePressEvent
   Mirrors EventHandler/src/CombineKeyHandler.cpp CombineKeyHandler::m_HandlePartnerPress CombineKeyHandler::m_EnsureThread
   Mirrors EventHandler/src/CombineKeyHandler.cpp CombineKeyHandler::m_HandleReleaseEvent CombineKeyHandler::t_Main
   Mirrors EventHandler/src/CombineKeyHandler.cpp CombineKeyHandler::m_CountHold CombineKeyHandler::Destroy

   EVENTS presses and releases of the two buttons, in any order, then the end. A pair that is still held at the end stays
   so until its key was sent. The pause of 50 ms between two polls is long enough for whoever waits for the lock.

   Check safety    EVENTS=6
   Check safety    EVENTS=4 SPURIOUS=2
   Check destroyed EVENTS=4 COARSE
   Fault safety    FAULT_CREATE_TWICE       every completed pair makes a thread
   Fault safety    FAULT_SENT_TWICE         one hold sends the key at every poll
   Fault safety    FAULT_DESTROY_ALWAYS     the end waits for a thread that was never made
   Fault destroyed FAULT_COUNT_ONLY_ONCE    the second hold is not measured
   Fault destroyed FAULT_DESTROY_LOCKED     the end waits for the thread with the lock that the thread wants
   Fault destroyed FAULT_NO_EXIT_FLAG       nobody tells the thread to end
*/

#ifndef EVENTS
#define EVENTS 4
#endif
#define THREADS 1
#define Combined 0
#define SEMAPHORES 2
#define CombineLock 1
#define LOCKS 2
#define LIMIT 2 /* polls in a hold */

#include "cthread.pml"

bool isHeld[2]; /* m_iKey1 and m_iKey2, by button */
bool mustExit;
byte wanting;    /* how many wait for m_tCombineLock while the thread pauses */
bool wasSent;    /* since the thread has last seen a button up */
bool allDestroyed;

#define BothHeld (isHeld[0] && isHeld[1])

inline LockForEvent() {
    wanting++;
    atomic { Lock(CombineLock); wanting-- }
}

inline CountHold(counter) {
    if
    :: !BothHeld ->
        wasSent = false;
#ifndef FAULT_COUNT_ONLY_ONCE
        counter = 0
#endif
    :: BothHeld && LIMIT > counter -> counter++
    :: BothHeld && LIMIT == counter ->
        assert(!wasSent);
        wasSent = true;
#ifndef FAULT_SENT_TWICE
        counter++
#endif
    :: BothHeld && LIMIT < counter
    fi
}

proctype CombinedThread() {
    byte counter;
    ThreadEnter(Combined);
    do
    :: mustExit -> break
    :: else ->
        Lock(CombineLock);
        CountHold(counter);
        Unlock(CombineLock);
        wanting == 0
    od;
    ThreadLeave(Combined)
}

inline EnsureThread() {
    if
#ifndef FAULT_CREATE_TWICE
    :: FlagCreate(Combined)
    :: else ->
#else
    :: true ->
#endif
        ThreadPrepare(Combined);
        run CombinedThread();
        ThreadRelease(Combined)
    fi
}

inline Press(button) {
    LockForEvent();
    if
    :: isHeld[button]
    :: !isHeld[button] && isHeld[1 - button] -> EnsureThread(); isHeld[button] = true
    :: !isHeld[button] && !isHeld[1 - button] -> isHeld[button] = true
    fi;
    Unlock(CombineLock)
}
inline Release(button) {
    LockForEvent();
    isHeld[button] = false;
    Unlock(CombineLock)
}

inline Destroy() {
#ifndef FAULT_NO_EXIT_FLAG
    mustExit = true;
#endif
    if
#ifndef FAULT_DESTROY_ALWAYS
    :: !FlagCreate(Combined)
    :: else ->
#else
    :: true ->
#endif
        ThreadDestroy(Combined)
    fi
}

/* The dispatcher's thread, and after its end the main thread. */
active proctype Service() {
    byte button, event;
    alive[Combined] = true;
    for (event : 1 .. EVENTS) {
        select (button : 0 .. 1);
        if
        :: Press(button)
        :: Release(button)
        fi
    }
    !BothHeld || wasSent;
#ifdef FAULT_DESTROY_LOCKED
    Lock(CombineLock);
#endif
    Destroy();
#ifdef FAULT_DESTROY_LOCKED
    Unlock(CombineLock);
#endif
    alive[Combined] = false;
    allDestroyed = true
}

ltl destroyed { <> allDestroyed }
