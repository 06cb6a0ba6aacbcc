#ifndef COMMON_CALLBACKHANDLER_H
#define COMMON_CALLBACKHANDLER_H

#include <pthread.h>

#include <map>

#include "CThread/CMutex.h"
#include "CThread/LockOrder.h"

/// An object that wants to be called back.
class GCCallback {
public:
    GCCallback() { pthread_mutex_init(&m_tCallbackMutex, nullptr); }
    virtual ~GCCallback() { pthread_mutex_destroy(&m_tCallbackMutex); }
    GCCallback(const GCCallback&) = delete;
    GCCallback& operator=(const GCCallback&) = delete;

    /// Runs on the thread that fires the event, with m_tCallbackMutex held. What the number and the pointers mean is
    /// the firing side's business.
    virtual void t_OnCallback(int iEvent, void* p1, void* p2, void* p3) = 0;

protected:
    friend class CallbackHandler;
    /// Not recursive. A plain one, for subclasses that keep other methods of theirs from running during a callback.
    pthread_mutex_t m_tCallbackMutex;
};

/// A set of callbacks, all of which are called when the owner fires an event, in the order of their addresses.
///
/// Life     construct, Create, use, Destroy, destruct. The callbacks belong to others and are never deleted.
/// Threads  any. Locks: m_oLock (recursive, so a callback may register and unregister), then the callback's own mutex.
class CallbackHandler {
public:
    CallbackHandler() = default;
    virtual ~CallbackHandler() = default;
    CallbackHandler(const CallbackHandler&) = delete;
    CallbackHandler& operator=(const CallbackHandler&) = delete;

    /// Both empty the registry without its lock: nobody may use it yet, or any more.
    void Create() NO_THREAD_SAFETY_ANALYSIS;
    void Destroy() NO_THREAD_SAFETY_ANALYSIS;

    void RegisterCallback(GCCallback* pCb);
    void UnregisterCallback(GCCallback* pCb);
    void ExecuteCallback(int iEvent, void* p1, void* p2, void* p3);

private:
    /// From the callback's address to the callback.
    std::map<unsigned long, GCCallback*> m_mCallbackMap GUARDED_BY(m_oLock);
    CMutex m_oLock ACQUIRED_AFTER(lock_order::AfterTimer) ACQUIRED_BEFORE(lock_order::AfterRegistry);
};

#endif
