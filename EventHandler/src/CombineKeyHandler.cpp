#include "CombineKeyHandler.h"

#include <unistd.h>

#include <exception>

#include "Log.h"
#include "platform/virtual_key.h"

namespace {

constexpr int NO_KEY = -1;
constexpr int POLL_MS = 50;  // the hold is measured by counting polls, not by reading a clock

}  // namespace

CombineKeyHandler::~CombineKeyHandler() {
    CombineKeyHandler::Destroy();
    m_tCombineLock.Destroy();
}

void CombineKeyHandler::Destroy() {
    m_bExit = true;
    if (FlagCreate()) {
        CThread::Destroy();
    }
}

void CombineKeyHandler::RegisterCombinationKey(int key1, int vk1, int key2, int vk2, int combinedVK, int holdTime) {
    LOGI("RegisterCombinationKey with [%d, %d], [%d, %d], holdtime[%dms], combined_vk[%d]", key1, vk1, key2, vk2,
         holdTime, combinedVK);
    try {
        m_vCombinationList.push_back({key1, vk1, key2, vk2, combinedVK, holdTime});
    } catch (const std::exception& error) {
        LOGE("combination [%d, %d] is not registered: %s", key1, key2, error.what());
    }
}

bool CombineKeyHandler::IsCombinationKey(int code) const {
    for (const Combination_Info& info : m_vCombinationList) {
        if (info.m_iKey1 == code || info.m_iKey2 == code) {
            LOGI("key %d is a combined key!", code);
            return true;
        }
    }
    return false;
}

void CombineKeyHandler::HandleKeyEvent(const _gamepad_event_s& event) {
    if (event.value == 1) {
        m_HandlePressEvent(event.code);
    } else if (event.value == 0) {
        m_HandleReleaseEvent(event.code);
    }
}

void CombineKeyHandler::m_HandlePressEvent(int code) {
    CScopedLock lock(m_tCombineLock);
    if (m_iKey1 != NO_KEY && m_iKey2 != NO_KEY) {
        return;
    }
    if (m_iKey1 == NO_KEY && m_iKey2 == NO_KEY) {
        m_HandleFirstPress(code);
        return;
    }
    Combination_Info info = {-1, -1, -1, -1, -1, -1};
    m_GetCombineInfo(m_iKey1 != NO_KEY ? m_iKey1 : m_iKey2, code, info);
    m_HandlePartnerPress(code, info);
}

void CombineKeyHandler::m_HandleFirstPress(int code) {
    const int vk = m_GetVKValue(code);
    if (vk != NO_KEY) {
        VirtualKey_Send_KeyCode(vk, KEY_ACTION_AUTO_PRESS_RELEASE);
        LOG_AS("m_HandlePressEvent", __LINE__, DLOG_INFO, "Send AUTO_PRESS_RELEASE of Virtual Key[%d][%d]", vk, code);
    }
    m_iKey1 = code;
}

void CombineKeyHandler::m_HandlePartnerPress(int code, const Combination_Info& info) {
    constexpr char OPERATION[] = "m_HandlePressEvent";
    if (info.m_iHoldTime < 0) {
        return;
    }
    if (info.m_iHoldTime == 0) {
        VirtualKey_Send_KeyCode(info.m_iCombinedVK, KEY_ACTION_AUTO_PRESS_RELEASE);
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Hold time is 0, Generate Combined VK [%d] immediately",
               info.m_iCombinedVK);
        return;
    }
    if (!m_EnsureThread()) {
        return;
    }
    m_iHoldTime = info.m_iHoldTime;
    m_iCombinedVK = info.m_iCombinedVK;
    (m_iKey1 == NO_KEY ? m_iKey1 : m_iKey2) = code;
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "m_iKey1[%d], m_iKey2[%d], m_iCombinedVK[%d], m_iHoldTime[%d]", m_iKey1,
           m_iKey2, m_iCombinedVK, m_iHoldTime);
}

bool CombineKeyHandler::m_EnsureThread() {
    constexpr char OPERATION[] = "m_HandlePressEvent";
    if (FlagCreate()) {
        return true;
    }
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Create CombinedHandle-Thread to monitor combined key.");
    if (!CThread::Create("CombinedHandle-Thread", STACK_SIZE)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "CreateThread failed.");
        return false;
    }
    return true;
}

void CombineKeyHandler::m_HandleReleaseEvent(int code) {
    CScopedLock lock(m_tCombineLock);
    if (m_iKey1 == code) {
        m_iKey1 = NO_KEY;
    } else if (m_iKey2 == code) {
        m_iKey2 = NO_KEY;
    }
    LOGI("[%d] is released, [%d, %d]", code, m_iKey1, m_iKey2);
}

void CombineKeyHandler::m_GetCombineInfo(int keyA, int keyB, Combination_Info& info) const {
    for (const Combination_Info& pair : m_vCombinationList) {
        if ((pair.m_iKey1 == keyA && pair.m_iKey2 == keyB) || (pair.m_iKey1 == keyB && pair.m_iKey2 == keyA)) {
            info = pair;
            LOGI("pair key<%d, %d>'s holdtime is %dms, vk is %d", keyA, keyB, pair.m_iHoldTime, pair.m_iCombinedVK);
            return;
        }
    }
}

int CombineKeyHandler::m_GetVKValue(int code) const {
    for (const Combination_Info& pair : m_vCombinationList) {
        if (pair.m_iKey1 == code || pair.m_iKey2 == code) {
            const int vk = pair.m_iKey1 == code ? pair.m_iVK1 : pair.m_iVK2;
            LOGI("Key<%d>'s virtual key is %d", code, vk);
            return vk;
        }
    }
    return NO_KEY;
}

void CombineKeyHandler::t_Main() {
    LOGI("Enter CombinedHandle-Thread");
    for (int counter = 0; !m_bExit;) {
        {
            CScopedLock lock(m_tCombineLock);
            m_CountHold(counter);
        }
        usleep(POLL_MS * 1000);
    }
    LOGI("Exit CombinedHandle-Thread");
}

void CombineKeyHandler::m_CountHold(int& counter) {
    if (m_iKey1 == NO_KEY || m_iKey2 == NO_KEY) {
        counter = 0;
        return;
    }
    const int limit = m_iHoldTime / POLL_MS;
    if (limit > counter) {
        ++counter;
        return;
    }
    if (limit == counter) {
        ++counter;
        VirtualKey_Send_KeyCode(m_iCombinedVK, KEY_ACTION_AUTO_PRESS_RELEASE);
        LOG_AS("t_Main", __LINE__, DLOG_INFO, "hold timeout, send combined vk[%d]", m_iCombinedVK);
    }
}
