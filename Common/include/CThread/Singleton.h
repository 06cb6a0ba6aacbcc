#ifndef COMMON_SINGLETON_H
#define COMMON_SINGLETON_H

#include <pthread.h>

#include <new>

#include "CThread/CRawMutex.h"
#include "CThread/LockOrder.h"

/// Base of the classes that have one instance in the process: class T : public Singleton<T>.
///
/// Threads  any. m_tSingletonLock is held while T is built and destroyed, so T's constructor must not ask for T.
/// Order    after the context manager's list lock, before every lock of the dispatcher.
template <class T>
class Singleton {
public:
    /// Keeps the instance alive for as long as a library's callback works on it: DestroyInstance waits for it.
    class Lease {
    public:
        Lease() {
            CScopedLock lock(m_tSingletonLock);
            m_pInstance = GetLocked();
            ++m_iLeases;
        }
        ~Lease() {
            CScopedLock lock(m_tSingletonLock);
            if (--m_iLeases == 0) {
                pthread_cond_broadcast(&m_tNoLease);
            }
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        /// Null without memory.
        T* Get() const { return m_pInstance; }

    private:
        T* m_pInstance;
    };

    Singleton() = default;
    virtual ~Singleton() = default;
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    /// The instance, built on first use; null without memory, and then the next call tries again.
    static T* GetInstance() {
        CScopedLock lock(m_tSingletonLock);
        return GetLocked();
    }

    /// Deletes the instance, if there is one; the next GetInstance builds a fresh one.
    static void DestroyInstance() {
        CScopedLock lock(m_tSingletonLock);
        while (m_iLeases > 0) {
            pthread_cond_wait(&m_tNoLease, &m_tSingletonLock.tMutex);
        }
        delete static_cast<Singleton<T>*>(m_pObj);
        m_pObj = nullptr;
    }

private:
    static T* GetLocked() REQUIRES(m_tSingletonLock) {
        if (m_pObj == nullptr) {
            m_pObj = new (std::nothrow) T;
        }
        return m_pObj;
    }

    static CRawMutex m_tSingletonLock ACQUIRED_AFTER(lock_order::AfterList) ACQUIRED_BEFORE(lock_order::AfterSingleton);
    static T* m_pObj GUARDED_BY(m_tSingletonLock);
    static int m_iLeases GUARDED_BY(m_tSingletonLock);
    static pthread_cond_t m_tNoLease;
};

template <class T>
CRawMutex Singleton<T>::m_tSingletonLock;
template <class T>
T* Singleton<T>::m_pObj = nullptr;
template <class T>
int Singleton<T>::m_iLeases = 0;
template <class T>
pthread_cond_t Singleton<T>::m_tNoLease = PTHREAD_COND_INITIALIZER;

#endif
