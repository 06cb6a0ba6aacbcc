#include "GamepadTimer.h"

#include "Log.h"

GamepadTimer::~GamepadTimer() {
    if (FlagCreate()) {
        REPORT("FlagCreate() == false");
        DestroyTimer();  // a thread that went on would use what is gone
    }
    m_tTimerLock.Destroy();
}

bool GamepadTimer::CreateTimer(unsigned long waitMSec, int deviceId) {
    m_bExit = false;
    m_iDeviceId = deviceId;
    SetWaitMSec(waitMSec);
    CallbackHandler::Create();
    if (!m_CreateSemaphores() || !m_CreateThread()) {
        m_DestroySemaphores();
        CallbackHandler::Destroy();
        return false;
    }
    LOGD("m_semCreateSync.Take() to wait sub-thread run succcessfully");
    m_semCreateSync.Take();
    LOGD("sub-thread run successfully! Exit");
    m_semCreateSync.Destroy();
    return true;
}

bool GamepadTimer::m_CreateSemaphores() {
    constexpr char OPERATION[] = "CreateTimer";
    if (!m_semTimer.FlagCreate() && !m_semTimer.Create(0)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "create m_semTimer ERROR!");
        return false;
    }
    if (!m_semThreadSync.FlagCreate() && !m_semThreadSync.Create(0)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "create m_semThreadSync ERROR!");
        return false;
    }
    if (!m_semCreateSync.FlagCreate() && !m_semCreateSync.Create(0)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "create m_semCreateSync ERROR!");
        return false;
    }
    return true;
}

bool GamepadTimer::m_CreateThread() {
    if (!CThread::Create("gamepad-timer-thread", STACK_SIZE)) {
        LOG_AS("CreateTimer", __LINE__, DLOG_ERROR, "Create gamepad-timer-thread ERROR");
        return false;
    }
    return true;
}

void GamepadTimer::m_DestroySemaphores() {
    for (CSemaphore* pSemaphore : {&m_semCreateSync, &m_semThreadSync, &m_semTimer}) {
        if (pSemaphore->FlagCreate()) {
            pSemaphore->Destroy();
        }
    }
}

void GamepadTimer::StartTimer() {
    m_bStart = true;
    m_semThreadSync.Give();
}

void GamepadTimer::StopTimer() {
    if (m_bStart.exchange(false)) {
        m_semTimer.Give();
    }
}

void GamepadTimer::m_StopThread() {
    m_bStart = false;
    m_bExit = true;
    m_semThreadSync.Give();
}

void GamepadTimer::DestroyTimer() {
    StopTimer();
    m_StopThread();
    CThread::Destroy();
    CallbackHandler::Destroy();
    m_DestroySemaphores();
    LOGI("Exit DestroyTimer");
}

void GamepadTimer::SetWaitMSec(unsigned long waitMSec) {
    CScopedLock lock(m_tTimerLock);
    m_ulWaitMSec = waitMSec;
}

unsigned long GamepadTimer::GetWaitMSec() {
    CScopedLock lock(m_tTimerLock);
    return m_ulWaitMSec;
}

void GamepadTimer::t_Main() {
    LOGI("ENTER");
    if (m_semCreateSync.FlagCreate()) {
        m_semCreateSync.Give();
    }
    while (!m_bExit) {
        m_semThreadSync.Take();
        CScopedLock lock(m_tTimerLock);
        m_WaitOnce();
    }
}

void GamepadTimer::m_WaitOnce() {
    constexpr char OPERATION[] = "t_Main";
    if (!m_bStart) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Timer do not Start!");
        return;
    }
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Wait[%lu]ms!", m_ulWaitMSec);
    if (m_IsDisarmedWithin(m_ulWaitMSec)) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Wake up!");
        return;
    }
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Timeout!");
    m_bStart = false;
    ExecuteCallback(0, &m_iDeviceId, nullptr, nullptr);
}

// A press and its release that both came before the thread woke up leave a unit behind that no wait has consumed; it
// would end the wait of the next press at once. A disarm that comes while it is cleared away shows in m_bStart.
bool GamepadTimer::m_IsDisarmedWithin(unsigned long waitMSec) {
    while (m_semTimer.Try(0)) {
    }
    return !m_bStart || m_semTimer.Try(waitMSec);
}
