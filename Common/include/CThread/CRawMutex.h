#ifndef COMMON_CRAWMUTEX_H
#define COMMON_CRAWMUTEX_H

#include <pthread.h>

#include "CThread/ThreadSafety.h"

/// A plain pthread mutex with default attributes (not recursive) that the compiler's analysis knows as a lock.
///
/// Ready from its constant initialisation on, so one with static storage may be used before and after everything else.
struct CAPABILITY("mutex") CRawMutex {
    CRawMutex() = default;
    CRawMutex(const CRawMutex&) = delete;
    CRawMutex& operator=(const CRawMutex&) = delete;

    /// Both return the thread library's result: 0 on success.
    int Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS { return pthread_mutex_lock(&tMutex); }
    int Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { return pthread_mutex_unlock(&tMutex); }

    /// For a member whose owner dies: nobody may hold or want the lock any more.
    void Destroy() { pthread_mutex_destroy(&tMutex); }

    pthread_mutex_t tMutex = PTHREAD_MUTEX_INITIALIZER;
};

/// Holds a CRawMutex for the length of a scope. Failing calls are not looked at.
class SCOPED_CAPABILITY CScopedLock {
public:
    explicit CScopedLock(CRawMutex& mutex) ACQUIRE(mutex) : m_tMutex(mutex) { m_tMutex.Lock(); }
    ~CScopedLock() RELEASE() { m_tMutex.Unlock(); }
    CScopedLock(const CScopedLock&) = delete;
    CScopedLock& operator=(const CScopedLock&) = delete;

private:
    CRawMutex& m_tMutex;
};

#endif
