/* What Common/src/CThread.cpp does, for the models to be built on: thread t has the semaphores 2t and 2t + 1.

   Mirrors Common/src/CThread.cpp CThread::Create CThread::m_StartDetached CThread::_Process CThread::Destroy

   A model defines THREADS and makes `alive[t]` true for as long as the object exists; pthread_create is `run`, which
   the model does between ThreadPrepare and ThreadRelease. */

#include "sync.pml"

#define StartOf(t) (2 * (t))
#define ExitOf(t) (2 * (t) + 1)
#define FlagCreate(t) sem[StartOf(t)].created

bool alive[THREADS];    /* the object's memory may be touched */
bool stored[THREADS];   /* m_tThread has the handle */
bool returned[THREADS]; /* t_Main has returned, and what it did is there to be seen */

inline ThreadPrepare(t) {
    assert(!FlagCreate(t));
    CreateSemaphore(StartOf(t), 0);
    CreateSemaphore(ExitOf(t), 0);
    stored[t] = false;
    returned[t] = false
}
inline ThreadRelease(t) {
    stored[t] = true;
    Give(StartOf(t))
}

inline ThreadEnter(t) {
#ifndef FAULT_NO_WAIT_FOR_CREATE
    Take(StartOf(t));
#endif
    assert(alive[t] && stored[t])
}
inline ThreadLeave(t) {
#ifdef FAULT_STORE_AFTER_GIVE
    Give(ExitOf(t));
    assert(alive[t]);
    returned[t] = true
#else
    assert(alive[t]);
    returned[t] = true;
    Give(ExitOf(t))
#endif
}

inline ThreadDestroy(t) {
    assert(FlagCreate(t));
#ifndef FAULT_NO_WAIT_FOR_BODY
    Take(ExitOf(t));
#endif
    assert(returned[t]);
    DestroySemaphore(ExitOf(t));
    DestroySemaphore(StartOf(t))
}
