#include "CThread/CSemaphore.h"

#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <new>

#include "Log.h"

struct SemaphoreState {
    pthread_cond_t m_tCond = PTHREAD_COND_INITIALIZER;
    int32_t m_iCount = 0;
    SemaphoreState* m_pNextLost = nullptr;
};

CRawMutex TimeMutex;

namespace {

/// TimeMutex for a scope; speaks for the operation that uses it.
class SCOPED_CAPABILITY TimeLock {
public:
    TimeLock(const char* operation, int line) ACQUIRE(TimeMutex) : m_szOperation(operation), m_iLine(line) {
        if (TimeMutex.Lock() != 0) {
            LOG_AS(m_szOperation, m_iLine, DLOG_INFO, "pthread_mutex_lock()");
        }
    }
    ~TimeLock() RELEASE() {
        if (TimeMutex.Unlock() != 0) {
            LOG_AS(m_szOperation, m_iLine, DLOG_INFO, "pthread_mutex_unlock()");
        }
    }
    TimeLock(const TimeLock&) = delete;
    TimeLock& operator=(const TimeLock&) = delete;

private:
    const char* m_szOperation;
    int m_iLine;
};

SemaphoreState* s_pLost GUARDED_BY(TimeMutex) = nullptr;

// A state that a misuse leaves behind is not freed, since a thread may still wait in it. It is kept in a list, so that
// leak checkers show the leaks that nobody has reported.
void KeepLost(SemaphoreState* pState) REQUIRES(TimeMutex) {
    pState->m_pNextLost = s_pLost;
    s_pLost = pState;
}

SemaphoreState* NewState(int count) {
    try {
        auto* pState = new SemaphoreState;
        pState->m_iCount = count;
        return pState;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool TakeUnit(SemaphoreState& state) REQUIRES(TimeMutex) {
    if (state.m_iCount <= 0) {
        return false;
    }
    --state.m_iCount;
    return true;
}

// A count that is full stays so: one more would make it negative, and every waiter would wait for ever.
void AddUnit(SemaphoreState& state) REQUIRES(TimeMutex) {
    if (state.m_iCount < INT32_MAX) {
        ++state.m_iCount;
    }
}

bool DeadlineAfter(unsigned long ms, timespec& deadline) {
    constexpr long MICROSECONDS = 1000000;
    timeval now = {};
    if (gettimeofday(&now, nullptr) != 0) {
        return false;
    }
    auto microseconds = now.tv_usec + static_cast<long>((ms % 1000) * 1000);
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(ms / 1000);
    for (; microseconds >= MICROSECONDS; microseconds -= MICROSECONDS) {
        ++deadline.tv_sec;
    }
    deadline.tv_nsec = static_cast<long>(microseconds * 1000);
    return true;
}

}  // namespace

CSemaphore::~CSemaphore() {
    if (FlagCreate()) {
        REPORT("FlagCreate() == false");
        TimeLock lock(__func__, __LINE__);
        KeepLost(m_pState);
    }
}

bool CSemaphore::Create(int count) {
    TimeLock lock(__func__, __LINE__);
    if (FlagCreate()) {
        REPORT("FlagCreate() == false");
        KeepLost(m_pState);
    }
    m_pState = NewState(count);
    return FlagCreate();
}

void CSemaphore::Destroy() {
    TimeLock lock(__func__, __LINE__);
    SemaphoreState* pState = m_pState;
    if (pState == nullptr) {
        REPORT("FlagCreate() == true");
        return;
    }
    if (pthread_cond_destroy(&pState->m_tCond) != 0) {
        LOGI("pthread_cond_destroy()");
    }
    delete pState;
    m_pState = nullptr;
}

void CSemaphore::Take() {
    TimeLock lock(__func__, __LINE__);
    SemaphoreState* pState = m_pState;
    if (pState == nullptr) {
        REPORT("FlagCreate() == true");
        return;
    }
    while (!TakeUnit(*pState)) {
        if (pthread_cond_wait(&pState->m_tCond, &TimeMutex.tMutex) != 0) {
            LOGI("pthread_cond_wait()");
        }
    }
}

void CSemaphore::Give() {
    TimeLock lock(__func__, __LINE__);
    SemaphoreState* pState = m_pState;
    if (pState == nullptr) {
        REPORT("FlagCreate() == true");
        return;
    }
    AddUnit(*pState);
    if (pthread_cond_signal(&pState->m_tCond) != 0) {
        LOGI("pthread_cond_signal()");
    }
}

bool CSemaphore::Try(unsigned long ms) {
    if (!FlagCreate()) {
        REPORT("FlagCreate() == true");
        return false;
    }
    if (ms == WAIT_FOREVER) {
        Take();
        return true;
    }
    TimeLock lock(__func__, __LINE__);
    SemaphoreState* pState = m_pState;
    if (pState == nullptr) {
        return false;
    }
    while (!TakeUnit(*pState)) {
        if (ms == 0) {
            return false;
        }
        timespec deadline = {};
        if (!DeadlineAfter(ms, deadline)) {
            LOGI("gettimeofday()");
            return false;
        }
        const int result = pthread_cond_timedwait(&pState->m_tCond, &TimeMutex.tMutex, &deadline);
        if (result != 0) {
            if (result != ETIMEDOUT) {
                LOGI("pthread_cond_timedwait()");
            }
            return false;
        }
    }
    return true;
}
