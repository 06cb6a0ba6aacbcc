/* What the thread library and Common/src/CSemaphore.cpp do, for the models to be built on.

   Mirrors Common/src/CSemaphore.cpp CSemaphore::Create CSemaphore::Destroy CSemaphore::Take CSemaphore::Give
   Mirrors Common/src/CSemaphore.cpp CSemaphore::Try

   A model defines LOCKS and SEMAPHORES, their numbers, before it includes this; lock 0 is TimeMutex.

   A waiter leaves its wait when it is signalled, when its time runs out, or for no reason at all. A signal goes to any
   waiter, even to one that came after it, which is less than POSIX promises. A waiter that times out consumes no signal:
   glibc passes it on. Wake-ups for no reason and time-outs would rescue a thread whose signal was lost, so a run has
   only as many of them as these budgets allow; where they are used up, a lost signal shows as a deadlock.

   COARSE makes each operation one step, as far as it does not wait. TimeMutex allows that where nothing is touched
   outside of it; semaphore.pml shows it for the operations themselves. */

#ifndef SPURIOUS
#define SPURIOUS 1
#endif
#ifndef TIMEOUTS
#define TIMEOUTS 2
#endif
#ifndef MayTimeOut
#define MayTimeOut (timeoutsLeft > 0)
#endif
#ifdef COARSE
#define SECTION atomic
#else
#define SECTION
#endif

#define TimeMutex 0

byte holder[LOCKS]; /* pid + 1 of the thread that holds the lock; 0: nobody */

inline Lock(l) {
    atomic { holder[l] == 0 -> holder[l] = _pid + 1 }
}
inline Unlock(l) {
    atomic { assert(holder[l] == _pid + 1); holder[l] = 0 }
}

typedef Semaphore {
    bool created;
    byte count;
    byte waiting;  /* threads in the condition's wait */
    byte signalled /* how many of them have been signalled */
}
Semaphore sem[SEMAPHORES];
byte spuriousLeft = SPURIOUS;
byte timeoutsLeft = TIMEOUTS;

/* pthread_cond_signal: without a waiter nothing is remembered. */
inline Signal(s) {
    atomic {
        assert(sem[s].created);
        sem[s].signalled = (sem[s].signalled < sem[s].waiting -> sem[s].signalled + 1 : sem[s].signalled)
    }
}

inline FallAsleep(s) {
    atomic { sem[s].waiting++; Unlock(TimeMutex) }
}
#define IsSignalled(s) (sem[s].signalled > 0)
#define HasUnsignalled(s) (sem[s].waiting > sem[s].signalled)

/* pthread_cond_wait */
inline Wait(s) {
    FallAsleep(s);
    if
    :: atomic { IsSignalled(s) -> sem[s].signalled--; sem[s].waiting-- }
    :: atomic { HasUnsignalled(s) && spuriousLeft > 0 -> spuriousLeft--; sem[s].waiting-- }
    fi;
    Lock(TimeMutex)
}

/* pthread_cond_timedwait */
inline TimedWait(s, timedOut) {
    FallAsleep(s);
    if
    :: atomic { IsSignalled(s) -> sem[s].signalled--; sem[s].waiting-- }
    :: atomic { HasUnsignalled(s) && spuriousLeft > 0 -> spuriousLeft--; sem[s].waiting-- }
    :: atomic {
        HasUnsignalled(s) && MayTimeOut ->
        timeoutsLeft = (timeoutsLeft > 0 -> timeoutsLeft - 1 : 0);
        sem[s].waiting--;
        timedOut = true
    }
    fi;
    Lock(TimeMutex)
}

inline CreateSemaphore(s, units) {
    SECTION {
        Lock(TimeMutex);
        assert(!sem[s].created);
        sem[s].created = true;
        sem[s].count = units;
        Unlock(TimeMutex)
    }
}

inline DestroySemaphore(s) {
    SECTION {
        Lock(TimeMutex);
        assert(sem[s].created && sem[s].waiting == 0);
        sem[s].created = false;
        Unlock(TimeMutex)
    }
}

inline Take(s) {
    SECTION {
        Lock(TimeMutex);
        assert(sem[s].created);
#ifdef FAULT_IF_INSTEAD_OF_WHILE
        if
        :: sem[s].count == 0 -> Wait(s)
        :: else
        fi;
#else
        do
        :: sem[s].count == 0 -> Wait(s)
        :: else -> break
        od;
#endif
        assert(sem[s].created && sem[s].count > 0);
        sem[s].count--;
        Unlock(TimeMutex)
    }
}

inline Give(s) {
#if defined(FAULT_GIVE_WITHOUT_LOCK)
    sem[s].count++;
    Signal(s)
#elif defined(FAULT_SIGNAL_AFTER_UNLOCK)
    SECTION { Lock(TimeMutex); sem[s].count++; Unlock(TimeMutex) };
    Signal(s)
#else
    SECTION {
        Lock(TimeMutex);
        assert(sem[s].created);
        sem[s].count++;
#if defined(FAULT_SIGNAL_ONLY_THE_FIRST)
        if
        :: sem[s].count == 1 -> Signal(s)
        :: else
        fi;
#elif defined(FAULT_ONE_CONDITION)
        /* One condition for all: the signal may go to who waits for another semaphore. */
        atomic {
            if
            :: HasUnsignalled(0) -> Signal(0)
            :: HasUnsignalled(1) -> Signal(1)
            :: else
            fi
        };
#else
        Signal(s);
#endif
        Unlock(TimeMutex)
    }
#endif
}

/* Try(0) */
inline TryNow(s, got) {
    SECTION {
        Lock(TimeMutex);
        assert(sem[s].created);
        got = sem[s].count > 0;
        sem[s].count = sem[s].count - got;
        Unlock(TimeMutex)
    }
}

/* Try(ms): a time-out is false even where a unit has come by now; any other wake-up without a unit waits anew. */
inline Try(s, got) {
    SECTION {
        got = true;
        Lock(TimeMutex);
        assert(sem[s].created);
        do
        :: sem[s].count > 0 -> sem[s].count--; break
        :: else ->
            bool timedOut = false;
            TimedWait(s, timedOut);
            assert(sem[s].created);
            if
            :: timedOut -> got = false; break
            :: else
            fi
        od;
        Unlock(TimeMutex)
    }
}
