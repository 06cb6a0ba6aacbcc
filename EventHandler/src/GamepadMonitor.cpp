#include "GamepadMonitor.h"

#include "CVConf.h"
#include "Log.h"
#include "Utils.h"
#include "platform/screensaver.h"

namespace {

constexpr unsigned long CYCLE_MS = 30000;  // at most one settings write and one screensaver reset in this time

// Numbers of the platform's power service.
constexpr int POWER_STATE_NORMAL = 0;
constexpr int POWER_STATE_STANDBY = 2;
constexpr int POWER_STATE_FLAG = 1;
constexpr int WAKEUP_REASON_GAMEPAD = 1;

}  // namespace

GamepadMonitor::GamepadMonitor() {
    LOGI("Constructor is called");
}

GamepadMonitor::~GamepadMonitor() {
    LOGI("Destructor is called");
    {
        CScopedLock lock(m_tMutex);
        m_llActiveNumber = 0;
        m_llLastActiveNumber = 0;
    }
    if (FlagCreate()) {
        GamepadMonitor::Destroy();
    }
    // No notice may reach an object that is gone.
    GiveUpWatches();
    m_tMutex.Destroy();
}

int GamepadMonitor::Create() {
    m_Watch();
    // The thread runs as soon as it is created, and it may come to its first test before the owner calls Start.
    m_bStop = false;
    if (!m_semMonitor.Create(1) || !CThread::Create("GamepadMonitor", STACK_SIZE)) {
        LOGE("Create[GamepadMonitor] thread failed!");
        m_bStop = true;
        if (m_semMonitor.FlagCreate()) {
            m_semMonitor.Destroy();
        }
        return STATUS_FAILURE;
    }
    LOGI("Create [GamepadMonitor] thread success");
    return STATUS_SUCCESS;
}

void GamepadMonitor::m_Watch() {
    m_bIsWatching = true;
    CVConf::RegisterScreenSaverStatusCallback(ScreenSaverStatusCallback, this);
    if (!utils::IsSmartMonitor()) {
        return;
    }
    LOG_AS("Create", __LINE__, DLOG_INFO, "subscribe standby event");
    if (device_power_subscribe_standby_event(PowerOffCallback, this) != 0) {
        LOG_AS("Create", __LINE__, DLOG_ERROR, "Subscribe standby event failed!");
    }
}

void GamepadMonitor::m_Unwatch() {
    m_bIsWatching = false;
    CVConf::UnRegisterScreenSaverStatusCallback(ScreenSaverStatusCallback);
    if (utils::IsSmartMonitor()) {
        LOG_AS("Destroy", __LINE__, DLOG_INFO, "unsubscribe standby event");
        device_power_unsubscribe_standby_event(PowerOffCallback);
    }
}

void GamepadMonitor::GiveUpWatches() {
    if (m_bIsWatching) {
        m_Unwatch();
    }
}

void GamepadMonitor::Start() {
    LOGI("Enter");
    m_bStop = false;
}

void GamepadMonitor::Stop() {
    LOGI("Enter");
    m_bStop = true;
    m_semMonitor.Give();
}

void GamepadMonitor::Destroy() {
    Stop();
    CThread::Destroy();
    m_Unwatch();
    m_semMonitor.Destroy();
}

void GamepadMonitor::t_Main() {
    LOGI("Enter");
    while (!m_bStop) {
        {
            CScopedLock lock(m_tMutex);
            m_PublishActivity();
            m_ResetScreenSaver();
        }
        m_semMonitor.Try(CYCLE_MS);
    }
}

void GamepadMonitor::m_PublishActivity() {
    if (m_llActiveNumber == m_llLastActiveNumber) {
        return;
    }
    LOG_AS("t_Main", __LINE__, DLOG_INFO, "Gamepad is being used. Set[memory/accessory/gamepad_active][%lld]",
           static_cast<long long>(m_llActiveNumber));
    CVConf::SetGamepadActive(static_cast<int32_t>(static_cast<uint32_t>(m_llActiveNumber)));
    m_llLastActiveNumber = m_llActiveNumber;
}

void GamepadMonitor::m_ResetScreenSaver() {
    if (!m_bActive) {
        return;
    }
    LOG_AS("t_Main", __LINE__, DLOG_INFO, "Call[screensaver_reset]");
    if (screensaver_reset() != 0) {
        LOG_AS("t_Main", __LINE__, DLOG_ERROR, "Call[screensaver_reset]err");
    }
    m_bActive = false;
}

void GamepadMonitor::IncreaseActiveNumber() {
    LOGI("Enter");
    CScopedLock lock(m_tMutex);
    m_bActive = true;
    if (m_bScreenSaverOn) {
        LOGI("TV ScreenSaver is on");
        m_semMonitor.Give();
    }
    if (m_bIsEasyWakeupForPowerOff) {
        m_WakeUp();
    }
    ++m_llActiveNumber;
}

void GamepadMonitor::m_WakeUp() {
    LOG_AS("IncreaseActiveNumber", __LINE__, DLOG_INFO, "[Easy Wakeup]enabled. wakeup TV");
    device_power_set_wakeup_reason(WAKEUP_REASON_GAMEPAD);
    device_power_set_state(POWER_STATE_NORMAL, POWER_STATE_FLAG);
    m_bIsEasyWakeupForPowerOff = false;
}

void GamepadMonitor::ScreenSaverStatusCallback(keynode_t* node, void* user_data) {
    LOGI("Enter[ScreenSaverStatusCallback]");
    if (user_data == nullptr) {
        return;
    }
    auto* self = static_cast<GamepadMonitor*>(user_data);
    CScopedLock lock(self->m_tMutex);
    self->m_bScreenSaverOn = vconf_keynode_get_bool(node) != 0;
    LOGI("screensaver %s ON", self->m_bScreenSaverOn ? "is" : "is NOT");
}

void GamepadMonitor::PowerOffCallback(_device_poweroff_info* /*info*/, void* user_data) {
    LOGI("Enter[PowerOffCallback]");
    if (device_power_get_state() != POWER_STATE_STANDBY) {
        return;
    }
    const bool isEasyWakeup = CVConf::IsEasyWakeup();
    if (!isEasyWakeup || user_data == nullptr) {
        return;
    }
    LOGI("set[m_bIsEasyWakeupForPowerOff]to true");
    auto* self = static_cast<GamepadMonitor*>(user_data);
    CScopedLock lock(self->m_tMutex);
    self->m_bIsEasyWakeupForPowerOff = true;
}
