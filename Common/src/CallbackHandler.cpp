#include "CallbackHandler.h"

#include <exception>

#include "Log.h"

namespace {

unsigned long KeyOf(const GCCallback* pCb) {
    return reinterpret_cast<unsigned long>(pCb);
}

}  // namespace

void CallbackHandler::Create() {
    LOGI("Enter");
    if (!m_oLock.Create()) {
        REPORT("false");
    }
    m_mCallbackMap.clear();
}

void CallbackHandler::Destroy() {
    LOGI("Enter");
    m_mCallbackMap.clear();
    m_oLock.Destroy();
}

void CallbackHandler::RegisterCallback(GCCallback* pCb) {
    if (pCb == nullptr) {
        REPORT("pCb != NULL");
    }
    LOGI("Enter");
    m_oLock.Lock();
    try {
        if (!m_mCallbackMap.emplace(KeyOf(pCb), pCb).second) {
            LOGI("INFO: Already, [0x%lx] was inserted.", KeyOf(pCb));
        }
    } catch (const std::exception& error) {
        LOGE("callback [0x%lx] is not registered: %s", KeyOf(pCb), error.what());
    }
    m_oLock.Unlock();
}

void CallbackHandler::UnregisterCallback(GCCallback* pCb) {
    if (pCb == nullptr) {
        REPORT("pCb != NULL");
    }
    LOGI("Enter");
    m_oLock.Lock();
    m_mCallbackMap.erase(KeyOf(pCb));
    m_oLock.Unlock();
}

void CallbackHandler::ExecuteCallback(int iEvent, void* p1, void* p2, void* p3) {
    m_oLock.Lock();
    // From key to next greater key: a callback may take entries out of the map while it is walked.
    for (auto entry = m_mCallbackMap.begin(); entry != m_mCallbackMap.end();) {
        const unsigned long key = entry->first;
        GCCallback* pCb = entry->second;
        if (pCb != nullptr) {
            pthread_mutex_lock(&pCb->m_tCallbackMutex);
            pCb->t_OnCallback(iEvent, p1, p2, p3);
            pthread_mutex_unlock(&pCb->m_tCallbackMutex);
        }
        entry = m_mCallbackMap.upper_bound(key);
    }
    m_oLock.Unlock();
}
