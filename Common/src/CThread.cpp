#include "CThread/CThread.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "Log.h"

CThread::~CThread() {
    if (FlagCreate()) {
        REPORT("FlagCreate() == false");
    }
}

bool CThread::Create(const char* threadname, unsigned long stacksize) {
    if (FlagCreate()) {
        REPORT("FlagCreate() == false");
    }
    if (threadname == nullptr) {
        REPORT("threadname != NULL");
        threadname = "";
    }
    if (!m_CreateSemaphores()) {
        return false;
    }
    memset(m_szName, 0, sizeof(m_szName));
    strncpy(m_szName, threadname, sizeof(m_szName) - 1);
    m_iTid = -1;
    const int result = m_StartDetached(stacksize);
    if (result != 0) {
        LOGE("pthread_create() threadname:[%s]", threadname);
        LOGE("CThread not created: errno = %d", result);
        m_semStart.Destroy();
        return false;
    }
    m_semStart.Give();
    return true;
}

bool CThread::m_CreateSemaphores() {
    if (!m_semStart.Create(0)) {
        return false;
    }
    if (!m_semExit.Create(0)) {
        // A start semaphore alone would make this look like a thread that can be waited for.
        m_semStart.Destroy();
        return false;
    }
    return true;
}

int CThread::m_StartDetached(unsigned long stacksize) {
    pthread_attr_t attributes;
    if (const int result = pthread_attr_init(&attributes)) {
        return result;
    }
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, stacksize);
    pthread_t thread = 0;
    const int result = pthread_create(&thread, &attributes, _Process, this);
    if (result == 0) {
        m_tThread = thread;
    }
    pthread_attr_destroy(&attributes);
    return result;
}

void* CThread::_Process(void* pThread) {
    auto* self = static_cast<CThread*>(pThread);
    LOG_AS("CThreadRun", __LINE__, DLOG_INFO, "Enter");
    self->m_semStart.Take();
    self->m_iTid = static_cast<int32_t>(syscall(SYS_gettid));
    if (self->m_szName[0] != '\0' && prctl(PR_SET_NAME, self->m_szName, 0, 0, 0) < 0) {
        LOGI("inline: prctl()");
    }
    self->t_Main();
    self->m_tThread = static_cast<pthread_t>(-1);
    // The object may be gone as soon as the unit is taken.
    self->m_semExit.Give();
    return nullptr;
}

void CThread::Destroy() {
    if (!FlagCreate()) {
        REPORT("FlagCreate() == true");
    }
    m_semExit.Take();
    m_semExit.Destroy();
    m_semStart.Destroy();
}
