#ifndef COMMON_CTHREAD_H
#define COMMON_CTHREAD_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "CThread/CSemaphore.h"

/// A named, detached worker thread. A subclass supplies the body, t_Main.
///
/// Life     construct, Create, (the thread runs t_Main), the owner makes t_Main return, Destroy, destruct; may be
///          created again after Destroy.
/// Threads  Create and Destroy by the owner; t_Main on the new thread, after Create has finished. All that t_Main did
///          is visible after Destroy.
class CThread {
public:
    /// What every thread of the service asks for. It is below the thread library's minimum, so the library refuses it
    /// and the thread runs on the default stack.
    static constexpr unsigned long STACK_SIZE = 4096;

    CThread() = default;
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// The body. No argument, no result; must not throw.
    virtual void t_Main() = 0;

    virtual ~CThread();

    /// Waits, without limit, until t_Main has returned. Subclasses override it to tell their loop to end first.
    virtual void Destroy();

    /// Starts the thread. The kernel's name for it is the first 15 characters of `threadname`. A `stacksize` (bytes)
    /// that the thread library refuses leaves the default in force. False when nothing was started.
    bool Create(const char* threadname, unsigned long stacksize);

    bool FlagCreate() const { return m_semStart.FlagCreate(); }

protected:
    /// All bits set: the body has returned.
    std::atomic<pthread_t> m_tThread{0};
    /// The kernel's thread id, -1 until the thread runs.
    std::atomic<int32_t> m_iTid{-1};

private:
    static void* _Process(void* pThread);
    bool m_CreateSemaphores();
    int m_StartDetached(unsigned long stacksize);

    CSemaphore m_semStart;
    CSemaphore m_semExit;
    char m_szName[16] = {};
};

#endif
