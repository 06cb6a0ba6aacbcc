#ifndef COMMON_CSEMAPHORE_H
#define COMMON_CSEMAPHORE_H

#include <atomic>

#include "CThread/CRawMutex.h"
#include "CThread/LockOrder.h"

struct SemaphoreState;

/// The one mutex of all semaphores: guards every count and goes into every wait. Innermost lock of the process, held
/// only briefly; no other lock is taken while it is held.
extern CRawMutex TimeMutex ACQUIRED_AFTER(lock_order::BeforeTimeMutex);

/// A counting semaphore.
///
/// Life     construct, Create, use, Destroy, destruct; may be created again after Destroy.
/// Threads  Take, Try and Give from any thread; Create and Destroy by the owner while nobody else uses it.
/// Errors   using one that is not created is reported ("FlagCreate() == true") and does nothing; failing thread-library
///          calls are logged at information level and the operation goes on as if they had succeeded.
class CSemaphore {
public:
    /// The time-out of Try that means "for ever", on machines with 32-bit and 64-bit longs alike.
    static constexpr unsigned long WAIT_FOREVER = 0xFFFFFFFFUL;

    CSemaphore() = default;
    virtual ~CSemaphore();
    CSemaphore(const CSemaphore&) = delete;
    CSemaphore& operator=(const CSemaphore&) = delete;

    /// A negative count needs that many extra Gives. False only without memory.
    bool Create(int count);
    virtual void Destroy();

    /// Waits without limit for a unit and takes it.
    void Take();
    /// Adds a unit, up to INT32_MAX of them, and wakes one waiter.
    void Give();
    /// Takes a unit, waiting at most about `ms` milliseconds of wall-clock time; 0 never waits. True if it has one.
    /// A wake-up without a unit starts the whole time-out anew.
    bool Try(unsigned long ms);

    bool FlagCreate() const { return m_pState != nullptr; }

private:
    std::atomic<SemaphoreState*> m_pState{nullptr};
};

#endif
