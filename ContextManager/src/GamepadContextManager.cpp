#include "GamepadContextManager.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "../../EventHandler/src/GamepadEventDispatcher.h"
#include "Log.h"
#include "platform/aul.h"
#include "platform/gamepad.h"

namespace {

constexpr char IME_APP_ID[] = "com.velmora.tv.keypane-app";
constexpr int APP_ID_LENGTH = 256;

// The platform's application status numbers.
constexpr int STATUS_FOCUSED = 2;  // as asked for
constexpr int STATUS_FG = 3;       // as signalled, like the next two
constexpr int STATUS_FOCUS = 5;
constexpr int STATUS_HIDE = 7;

struct AppId {
    explicit AppId(int pid) {
        aul_app_get_appid_bypid(pid, szText, APP_ID_LENGTH);
        szText[APP_ID_LENGTH - 1] = '\0';
    }
    char szText[APP_ID_LENGTH] = {};
};

// A start that fails destroys the dispatcher while status signals still come in.
void StartMenuMode() {
    const Singleton<GamepadEventDispatcher>::Lease dispatcher;
    if (dispatcher.Get() != nullptr) {
        dispatcher.Get()->StartMenuMode();
    }
}

void StopMenuMode() {
    const Singleton<GamepadEventDispatcher>::Lease dispatcher;
    if (dispatcher.Get() != nullptr) {
        dispatcher.Get()->StopMenuMode();
    }
}

}  // namespace

GamepadContextManager::GamepadContextManager() {
    LOGI("Constructor is called");
}

GamepadContextManager::~GamepadContextManager() {
    LOGI("Destructor is called");
    DeInitialize();
    m_tPIDListMutex.Destroy();
}

bool GamepadContextManager::Initialize() {
    if (m_bIsInitialized) {
        LOGI("[GamepadContextManager] has been initialized already");
        return true;
    }
    // Exactly -1 is the platform's failure; its other negative numbers are not.
    if (aul_listen_app_status_signal(m_AppStatusChanged, this) == -1) {
        LOGE("Call[aul_listen_app_status_signal]err");
        return false;
    }
    m_bIsListening = true;
    m_bIsInitialized = true;
    return true;
}

// The list's lock stays usable until the object dies: a notice that passed the test of m_bIsInitialized may want it.
void GamepadContextManager::DeInitialize() {
    LOGI("Enter");
    if (!m_bIsInitialized) {
        LOGE("Please call [Initialize] first");
        return;
    }
    StopListening();
    m_bIsInitialized = false;
}

void GamepadContextManager::StopListening() {
    if (m_bIsListening.exchange(false)) {
        aul_listen_app_status_signal(nullptr, nullptr);
    }
}

bool GamepadContextManager::RegisterGameAppPID(int pid) {
    LOGI("RegisterGameAppPID with pid %d", pid);
    if (!m_bIsInitialized) {
        LOGE("Please call [Initialize] first");
        return false;
    }
    CScopedLock lock(m_tPIDListMutex);
    if (m_IsListed(pid)) {
        LOGI("gameapp pid already in the list. (pid=%d)", pid);
    } else {
        m_AddToList(pid);
    }
    if (pid > 0 && IsFocusApp(pid)) {
        LOGI("The new added gameapp (pid=%d) is focus, stop menumode.", pid);
        StopMenuMode();
    }
    return true;
}

void GamepadContextManager::m_AddToList(int pid) {
    constexpr char OPERATION[] = "RegisterGameAppPID";
    try {
        m_vGameAppPIDList.push_back(pid);
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Add gameapp pid to list(pid=%d)", pid);
    } catch (const std::exception& exception) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "gameapp (pid=%d) is not listed: %s", pid, exception.what());
    }
}

bool GamepadContextManager::UnRegisterGameAppPID(int pid) {
    LOGI("UnRegisterGameAppPID with pid %d", pid);
    if (!m_bIsInitialized) {
        LOGE("Please call [Initialize] first");
        return false;
    }
    CScopedLock lock(m_tPIDListMutex);
    const auto entry = std::find(m_vGameAppPIDList.begin(), m_vGameAppPIDList.end(), pid);
    if (entry != m_vGameAppPIDList.end()) {
        LOGI("Delete gameapp pid from list(pid=%d)", pid);
        m_vGameAppPIDList.erase(entry);
    }
    return true;
}

bool GamepadContextManager::m_IsListed(int pid) const {
    return std::find(m_vGameAppPIDList.begin(), m_vGameAppPIDList.end(), pid) != m_vGameAppPIDList.end();
}

bool GamepadContextManager::m_IsGameApp(int pid) {
    CScopedLock lock(m_tPIDListMutex);
    if (!m_IsListed(pid)) {
        return false;
    }
    LOG_AS("m_ActiveAppChanged", __LINE__, DLOG_INFO, "A game app[%d] on focus, so mark that", pid);
    return true;
}

bool GamepadContextManager::IsFocusApp(int pid) {
    if (pid <= 0) {
        return false;
    }
    const AppId appId(pid);
    const int status = aul_app_get_status(appId.szText);
    if (status != STATUS_FOCUSED) {
        LOGI("App[%s] with pid [%d]'s status is [%d].", appId.szText, pid, status);
        return false;
    }
    LOGI_SYSTEM("App[%s] with pid [%d] is focused. ", appId.szText, pid);
    m_iLastFocusPID = pid;
    return true;
}

int GamepadContextManager::m_AppStatusChanged(int pid, int status, void* data) {
    auto* self = static_cast<GamepadContextManager*>(data);
    if (self == nullptr) {
        return 0;
    }
    if (status == STATUS_FOCUS) {
        LOGI("Process[%d]'s status change to: AUL_PROC_STATUS_FOCUS[%d].", pid, status);
        self->m_ActiveAppChanged(pid, status);
        return 0;
    }
    if (status != STATUS_FG && status != STATUS_HIDE) {
        return 0;
    }
    LOGI("Process[%d]'s status change to:[%s][%d]", pid,
         status == STATUS_FG ? "AUL_PROC_STATUS_FG" : "AUL_PROC_STATUS_HIDE", status);
    if (strcmp(AppId(pid).szText, IME_APP_ID) == 0) {
        LOGI("Got IME AUL_PROC_STATUS_FG[3] or AUL_PROC_STATUS_HIDE[7] status:[%d], pid[%d]", status, pid);
        self->m_ActiveAppChanged(pid, status);
    }
    return 0;
}

void GamepadContextManager::m_ActiveAppChanged(int pid, int status) {
    if (status == STATUS_HIDE) {
        LOGI("IME is hide[AUL_PROC_STATUS_HIDE], current pid is previously gameapp pid.");
        pid = m_iLastFocusPID;
    } else if (status == STATUS_FOCUS) {
        m_iLastFocusPID = pid;
    }
    if (status == STATUS_FG) {
        LOGI("IME is visible[AUL_PROC_STATUS_FG]");
    } else if (m_IsGameApp(pid)) {
        LOGI("There is game app is actived, stop menu mode");
        StopMenuMode();
        return;
    }
    LOGI("All game apps are deactived, start menu mode");
    StartMenuMode();
}

void GameAppStatusChangeCB(int type, int pid, void* /*userData*/) {
    LOGI("Get GameApp status change callback! type[%d](Open:%d/Close:%d), APP PID[%d]", type,
         static_cast<int>(GAMEAPP_OPENED), static_cast<int>(GAMEAPP_CLOSED), pid);
    if (type != GAMEAPP_OPENED && type != GAMEAPP_CLOSED) {
        return;
    }
    const Singleton<GamepadContextManager>::Lease contextManager;
    if (contextManager.Get() == nullptr) {
        return;
    }
    if (type == GAMEAPP_OPENED) {
        contextManager.Get()->RegisterGameAppPID(pid);
    } else {
        contextManager.Get()->UnRegisterGameAppPID(pid);
    }
}
