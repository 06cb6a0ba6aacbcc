/* Several threads at two semaphores over the one shared mutex: Take, Try with and without a time, Give.

   Mirrors Common/src/CSemaphore.cpp CSemaphore::Take CSemaphore::Give CSemaphore::Try

   Five threads are more than ever meet at one semaphore of the service (two at a callback registry's lock, one at
   every other), and as many as meet at TimeMutex when every kind of worker is awake.

   Check safety
   Check safety    TIMEOUTS=0 SPURIOUS=0
   Check finishes  COARSE
   Fault safety    FAULT_IF_INSTEAD_OF_WHILE    a waiter believes every wake-up
   Fault safety    FAULT_GIVE_WITHOUT_LOCK      a unit comes between a waiter's look and its sleep
   Fault safety    FAULT_SIGNAL_ONLY_THE_FIRST  the second of two units wakes nobody
   Fault safety    FAULT_ONE_CONDITION          the signal goes to who waits for the other semaphore
   Fault finishes  FAULT_SIGNAL_ONLY_THE_FIRST  the second taker never returns
*/

#define LOCKS 1
#define SEMAPHORES 2
#define A 0
#define B 1

#include "sync.pml"

byte given[SEMAPHORES];
byte taken[SEMAPHORES];
byte finished;
#define THREADS 6

inline Count(s) { atomic { taken[s]++; assert(taken[s] <= given[s]) } }

inline Provide(s) { given[s]++; Give(s) }

proctype TakerOfA() { Take(A); Count(A); finished++ }

proctype TakerOfB() { Take(B); Count(B); finished++ }

proctype TrierOfA() {
    bool got;
    Try(A, got);
    if
    :: got -> Count(A)
    :: else
    fi;
    TryNow(B, got);
    if
    :: got -> Count(B); Provide(B)
    :: else
    fi;
    finished++
}

proctype GiverOfBoth() { Provide(A); Provide(B); finished++ }

proctype GiverOfA() { Provide(A); Provide(A); finished++ }

/* Nobody is left waiting while there is a unit, and no unit is lost or made up. */
proctype Quiescence() {
    timeout ->
    assert(finished == THREADS);
    assert(given[A] == taken[A] + sem[A].count && given[B] == taken[B] + sem[B].count)
}

init {
    atomic {
        CreateSemaphore(A, 0);
        CreateSemaphore(B, 0);
        run TakerOfA();
        run TakerOfA();
        run TakerOfB();
        run TrierOfA();
        run GiverOfBoth();
        run GiverOfA();
        run Quiescence()
    }
}

ltl finishes { <> (finished == THREADS) }
