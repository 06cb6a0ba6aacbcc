/* The start and the end of worker threads, over two semaphores each.

   Mirrors Common/src/CThread.cpp CThread::Create CThread::_Process CThread::Destroy

   One owner has THREADS threads, creates them, lets their bodies return, destroys them in the same order, and frees the
   objects; then all over again with the same ones, ROUNDS times. The service has eight at most: the signals' relay, the
   dispatcher, the monitor, four Home timers and the combination's.

   Check safety    THREADS=2 ROUNDS=2
   Check safety    THREADS=3
   Check safety    THREADS=8 COARSE SPURIOUS=0
   Check destroyed THREADS=2
   Fault safety    THREADS=1 FAULT_STORE_AFTER_GIVE     the thread writes into an object that is gone
   Fault safety    THREADS=1 FAULT_SIGNAL_AFTER_UNLOCK  the last give signals a condition that is gone
   Fault safety    THREADS=1 FAULT_NO_WAIT_FOR_CREATE   the body runs before its creation has finished
   Fault safety    THREADS=1 FAULT_NO_WAIT_FOR_BODY     the owner frees what the body still uses
   Fault safety    THREADS=2 FAULT_GIVE_WITHOUT_LOCK    the thread is never told to start
   Fault destroyed THREADS=1 FAULT_BODY_STAYS           nobody lets the body return
*/

#ifndef ROUNDS
#define ROUNDS 1
#endif
#define LOCKS 1
#define SEMAPHORES (2 * THREADS)

#include "cthread.pml"

bool mayReturn[THREADS];
bool allDestroyed;

proctype Process(byte t) {
    ThreadEnter(t);
    mayReturn[t];
    ThreadLeave(t)
}

active proctype Owner() {
    byte t, round;
    for (round : 1 .. ROUNDS) {
        for (t : 0 .. THREADS - 1) {
            alive[t] = true;
            mayReturn[t] = false;
            ThreadPrepare(t);
            run Process(t);
            ThreadRelease(t)
        }
        for (t : 0 .. THREADS - 1) {
#ifndef FAULT_BODY_STAYS
            mayReturn[t] = true;
#endif
            ThreadDestroy(t);
            alive[t] = false
        }
    }
    allDestroyed = true
}

ltl destroyed { <> allDestroyed }
