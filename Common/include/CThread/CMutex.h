#ifndef COMMON_CMUTEX_H
#define COMMON_CMUTEX_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "CThread/CSemaphore.h"
#include "Log.h"

/// A recursive lock, built on a semaphore with one unit.
///
/// Life     construct, Create, use, Destroy, destruct.
/// Threads  Lock and Unlock from any thread; an Unlock by a thread that does not own it has no effect.
/// Errors   using one that is not created is reported ("FlagCreate() == true") and does nothing.
class CAPABILITY("mutex") CMutex {
public:
    CMutex() = default;
    virtual ~CMutex() {
        if (FlagCreate()) {
            REPORT("FlagCreate() == false");
        }
    }
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// False only without memory.
    bool Create() {
        if (FlagCreate()) {
            REPORT("FlagCreate() == false");
        }
        m_tOwner = NO_OWNER;
        m_iLockCount = 0;
        return m_semLock.Create(1);
    }

    virtual void Destroy() {
        if (IsUsable()) {
            m_semLock.Destroy();
        }
    }

    void Lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        if (!IsUsable()) {
            return;
        }
        if (m_tOwner == pthread_self()) {
            ++m_iLockCount;
            return;
        }
        m_semLock.Take();
        m_iLockCount = 1;
        m_tOwner = pthread_self();
    }

    void Unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS {
        if (!IsUsable() || m_tOwner != pthread_self()) {
            return;
        }
        if (--m_iLockCount > 0) {
            return;
        }
        m_tOwner = NO_OWNER;
        m_semLock.Give();
    }

    bool FlagCreate() const { return m_semLock.FlagCreate(); }

private:
    static constexpr pthread_t NO_OWNER = 0;

    bool IsUsable() const {
        if (!FlagCreate()) {
            REPORT("FlagCreate() == true");
        }
        return FlagCreate();
    }

    CSemaphore m_semLock;
    std::atomic<pthread_t> m_tOwner{NO_OWNER};
    std::atomic<int32_t> m_iLockCount{0};
};

#endif
