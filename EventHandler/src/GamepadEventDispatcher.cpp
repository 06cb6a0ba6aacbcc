#include "GamepadEventDispatcher.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "../../ContextManager/src/GamepadContextManager.h"
#include "../../Main/main.h"
#include "Log.h"
#include "Utils.h"

namespace {

constexpr useconds_t PASS_PAUSE_US = 50000;  // how long the device lock is free between two passes
constexpr int EVENTS_PER_PASS = 16;          // of one device; what it has beyond waits for the next pass
constexpr int LIBRARY_SUCCESS = 1;

// An empty list of game apps is not released; where it stands is remembered, so that it is not lost either.
char* volatile s_pEmptyList = nullptr;

void GamepadConnectionChangeCB(int type, _gamepad_device_info_s info, void* /*userData*/) {
    info.szUid[sizeof(info.szUid) - 1] = '\0';
    LOGI("Got a device connection change callback! type[%d](connect:%d/disconnect:%d)uid[%s]", type,
         static_cast<int>(GAMEPAD_CONNECTED), static_cast<int>(GAMEPAD_DISCONNECTED), info.szUid);
    if (type != GAMEPAD_CONNECTED && type != GAMEPAD_DISCONNECTED) {
        return;
    }
    const Singleton<GamepadEventDispatcher>::Lease dispatcher;
    if (dispatcher.Get() == nullptr) {
        return;
    }
    if (type == GAMEPAD_CONNECTED) {
        dispatcher.Get()->AddGamepadDevice(info.szUid);
    } else {
        dispatcher.Get()->RemoveGamepadDevice(info.szUid);
    }
}

}  // namespace

GamepadEventDispatcher::GamepadEventDispatcher() {
    LOGI("Constructor is called");
}

GamepadEventDispatcher::~GamepadEventDispatcher() {
    LOGI("Destructor is called");
    DeInitialize();
    StopRemains();
    m_tMenuModeLock.Destroy();
    m_tDeviceLock.Destroy();
}

bool GamepadEventDispatcher::Initialize() {
    LOGI("Enter");
    if (m_bIsInitialized) {
        LOGI("[GamepadEventDispatcher] has been initialized already");
        return true;
    }
    if (!m_oRemoteController.Initialize()) {
        LOGI("Call[m_oRemoteController.Initialize()]err");
        return false;
    }
    m_oAppLauncher.Initialize();
    if (!m_CreateThreads()) {
        // A polling thread that runs already is kept out of what is taken down.
        CScopedLock lock(m_tDeviceLock);
        m_oRemoteController.DeInitialize();
        m_oAppLauncher.DeInitialize();
        return false;
    }
    m_oGamepadMonitor.Start();
    m_bIsInitialized = true;
    LOGI("Exit");
    return true;
}

bool GamepadEventDispatcher::m_CreateThreads() {
    constexpr char OPERATION[] = "Initialize";
    if (!CThread::Create("GamepadEventDispatcher", STACK_SIZE)) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Create[GamepadEventDispatcher]failed!");
        return false;
    }
    if (m_oGamepadMonitor.Create() == STATUS_FAILURE) {
        LOG_AS(OPERATION, __LINE__, DLOG_ERROR, "Call[m_oGamepadMonitor.Create()]err");
        return false;
    }
    return true;
}

void GamepadEventDispatcher::DeInitialize() {
    LOGI("Enter");
    if (!m_bIsInitialized) {
        LOGE("Please call[Initialize]first");
        return;
    }
    if (FlagCreate()) {
        m_bIsStopThread = true;
        LOGI("Wait [GamepadEventDispatcher] thread exit...");
        CThread::Destroy();
        LOGI("Wait [GamepadEventDispatcher] thread exit");
    }
    m_oRemoteController.DeInitialize();
    if (m_oGamepadMonitor.FlagCreate()) {
        LOGI("Wait [GamepadMonitor] thread exit...");
        m_oGamepadMonitor.Destroy();
        LOGI("[GamepadMonitor] thread exit");
    }
    m_bIsInitialized = false;
    LOGI("Exit");
}

// None of it may outlive this object.
void GamepadEventDispatcher::StopRemains() {
    if (FlagCreate()) {
        m_bIsStopThread = true;
        CThread::Destroy();
    }
    m_oGamepadMonitor.GiveUpWatches();
}

void GamepadEventDispatcher::StartMenuMode() {
    if (!m_bIsInitialized) {
        LOGE("Please call[Initialize]first");
        return;
    }
    CScopedLock lock(m_tMenuModeLock);
    if (m_bIsMenuMode.exchange(true)) {
        LOGI("Menu Mode has started already!");
    }
}

void GamepadEventDispatcher::StopMenuMode() {
    if (!m_bIsInitialized) {
        LOGE("Please call[Initialize]first");
        return;
    }
    CScopedLock lock(m_tMenuModeLock);
    if (!m_bIsMenuMode.exchange(false)) {
        LOGI("Menu Mode has been stopped already!");
    }
}

void GamepadEventDispatcher::t_Main() {
    if (!m_OpenGamepadLibrary()) {
        return;
    }
    // Game apps first: menu mode is then settled before the first event is read.
    m_GetAllGameAppInfo();
    m_EnumerateAllGamepadDevices();
    LOGI("Loop to handle gamepad key event: menumode[%d]", m_bIsMenuMode.load());
    while (!m_bIsStopThread) {
        m_PollAllDevices();
        usleep(PASS_PAUSE_US);
    }
    m_DestroyAllGamepadDevices();
    m_CloseGamepadLibrary();
}

bool GamepadEventDispatcher::m_OpenGamepadLibrary() {
    if (gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU, 0) != LIBRARY_SUCCESS) {
        LOG_AS("t_Main", __LINE__, DLOG_ERROR,
               "Call[gamepad_open_for_custom_mode(GAMEPAD_MODE_MENU)]failed, exit[quorvex]process");
        QuitMainLoop();
        return false;
    }
    gamepad_register_connection_callback(GamepadConnectionChangeCB, nullptr);
    gamepad_register_gameapp_status_callback(GameAppStatusChangeCB, nullptr);
    return true;
}

void GamepadEventDispatcher::m_CloseGamepadLibrary() {
    if (!is_gamepad_service_accessible) {
        LOG_AS("t_Main", __LINE__, DLOG_INFO, "[gamepad-service]has exited already");
        return;
    }
    gamepad_unregister_connection_callback(GamepadConnectionChangeCB);
    gamepad_unregister_gameapp_status_callback(GameAppStatusChangeCB);
    gamepad_close();
}

bool GamepadEventDispatcher::m_GetAllGameAppInfo() {
    char* list = nullptr;
    if (gamepad_get_all_gameapp_info_list(&list) != LIBRARY_SUCCESS || list == nullptr) {
        LOGI("Call[gamepad_get_all_gameapp_info_list]err");
        return false;
    }
    if (list[0] == '\0') {
        LOGI("there's no gameapp running yet, go to start menumode!");
        StartMenuMode();
        s_pEmptyList = list;
        return true;
    }
    LOGI("current game app info[%s]", list);
    m_RegisterGameApps(list);
    free(list);
    return true;
}

void GamepadEventDispatcher::m_RegisterGameApps(char* list) {
    constexpr int DECIMAL = 10;
    char* rest = nullptr;
    for (char* field = strtok_r(list, ",", &rest); field != nullptr; field = strtok_r(nullptr, ",", &rest)) {
        const long number = strtol(field, nullptr, DECIMAL);
        const int pid = static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
        GamepadContextManager* pContextManager = Singleton<GamepadContextManager>::GetInstance();
        if (pContextManager != nullptr) {
            pContextManager->RegisterGameAppPID(pid);
        }
    }
}

void GamepadEventDispatcher::m_PollAllDevices() {
    CScopedLock lock(m_tDeviceLock);
    for (const _DeviceInfo& device : m_vDeviceInfoList) {
        m_PollDevice(device);
    }
}

void GamepadEventDispatcher::m_PollDevice(const _DeviceInfo& device) {
    _gamepad_event_s events[EVENTS_PER_PASS] = {};
    int count = EVENTS_PER_PASS;
    if (gamepad_get_events(device.iDeviceId, events, &count) != LIBRARY_SUCCESS) {
        return;
    }
    m_oGamepadMonitor.IncreaseActiveNumber();
    count = std::min(count, EVENTS_PER_PASS);
    for (int i = 0; i < count; ++i) {
        m_RouteEvent(device, events[i]);
    }
}

void GamepadEventDispatcher::m_RouteEvent(const _DeviceInfo& device, const _gamepad_event_s& event) {
    LOG_AS("t_Main", __LINE__, DLOG_INFO, "Get a event[%llu,%d,%d,%ld], %s",
           static_cast<unsigned long long>(event.time), event.type, event.code, static_cast<long>(event.value),
           m_bIsMenuMode ? "[MenuMode]" : "[NOT MenuMode]");
    const bool isPress = event.type == gamepad::TYPE_BUTTON && event.value == 1;
    if (isPress && m_oAppLauncher.LaunchAppCheck(event.code)) {
        return;
    }
    CScopedLock lock(m_tMenuModeLock);
    if (event.code == gamepad::BUTTON_HOME) {
        m_oRemoteController.m_HandleHomeKey(device.iDeviceId, m_bIsMenuMode, event);
    } else if (m_bIsMenuMode) {
        m_oRemoteController.SendRemoteControllerEvent(device, event);
    } else {
        m_oRemoteController.ReleaseVirtualKey();
    }
}

void GamepadEventDispatcher::AddGamepadDevice(const char* uid) {
    _DeviceInfo device;
    strncpy(device.szUid, uid, sizeof(device.szUid) - 1);
    if (gamepad_create_device(device.szUid, &device.iDeviceId) != LIBRARY_SUCCESS) {
        LOGE("Call[gamepad_create_device]with[%s]err", uid);
        return;
    }
    // Asked for the library's sake; nothing here depends on the answer.
    bool isStandard = false;
    is_standard_gamepad(device.iDeviceId, &isStandard);
    m_ReadThresholds(device);
    m_AppendDevice(device);
}

void GamepadEventDispatcher::m_AppendDevice(const _DeviceInfo& device) {
    CScopedLock lock(m_tDeviceLock);
    try {
        m_vDeviceInfoList.push_back(device);
    } catch (const std::exception& exception) {
        LOG_AS("AddGamepadDevice", __LINE__, DLOG_ERROR, "[%s] is closed again: %s", device.szUid, exception.what());
        gamepad_destroy_device(device.iDeviceId);
    }
}

void GamepadEventDispatcher::m_ReadThresholds(_DeviceInfo& device) {
    struct Axis {
        int iAxis;
        int32_t _DeviceInfo::*pUpper;
        int32_t _DeviceInfo::*pLower;
    };
    constexpr Axis AXES[] = {
        {gamepad::AXIS_X, &_DeviceInfo::iXUpper, &_DeviceInfo::iXLower},
        {gamepad::AXIS_Y, &_DeviceInfo::iYUpper, &_DeviceInfo::iYLower},
        {gamepad::AXIS_RX, &_DeviceInfo::iRxUpper, &_DeviceInfo::iRxLower},
        {gamepad::AXIS_RY, &_DeviceInfo::iRyUpper, &_DeviceInfo::iRyLower},
    };
    for (const Axis& axis : AXES) {
        int maximum = 0;
        int minimum = 0;
        if (gamepad_get_abs_value_range(device.iDeviceId, axis.iAxis, &maximum, &minimum) != LIBRARY_SUCCESS) {
            continue;
        }
        long upper = -1;
        long lower = -1;
        m_GetThresholdValue(maximum, minimum, upper, lower);
        device.*axis.pUpper = static_cast<int32_t>(upper);
        device.*axis.pLower = static_cast<int32_t>(lower);
    }
}

// Halfway between the centre and each end. A pad may report any pair of 32-bit numbers, so the sum and the differences
// are taken in 64 bits.
void GamepadEventDispatcher::m_GetThresholdValue(const long& maximum, const long& minimum, long& upper, long& lower) {
    constexpr double HALF = 0.5;
    const int64_t first = maximum;
    const int64_t second = minimum;
    const int64_t centre = (first + second) / 2;
    upper = static_cast<long>(centre + static_cast<int64_t>(static_cast<double>(first - centre) * HALF));
    lower = static_cast<long>(centre + static_cast<int64_t>(static_cast<double>(second - centre) * HALF));
}

void GamepadEventDispatcher::RemoveGamepadDevice(const char* uid) {
    {
        CScopedLock lock(m_tDeviceLock);
        const auto device = std::find_if(m_vDeviceInfoList.begin(), m_vDeviceInfoList.end(),
                                         [uid](const _DeviceInfo& info) { return strcmp(info.szUid, uid) == 0; });
        if (device != m_vDeviceInfoList.end()) {
            int32_t loggedId = device->iDeviceId;
            gamepad_destroy_device(device->iDeviceId);
            const auto next = m_vDeviceInfoList.erase(device);
            // The message has always named the pad that moved up into the freed place; logs are read that way.
            if (next != m_vDeviceInfoList.end()) {
                loggedId = next->iDeviceId;
            }
            LOGI("Device with id [%d] is destroyed", loggedId);
        }
    }
    m_oRemoteController.ReleaseVirtualKey();
}

void GamepadEventDispatcher::m_EnumerateAllGamepadDevices() {
    const int count = gamepad_get_connected_gampad_count();
    if (count == 0) {
        LOGI("The connected device count is 0");
        return;
    }
    LOGI("Total get [%d] gamepad device", count);
    for (int i = 0; i < count; ++i) {
        _gamepad_device_info_s info = {};
        unsigned char flag = 0;
        if (gamepad_get_connected_device_Info(&info, &flag, i) != LIBRARY_SUCCESS) {
            LOGI("error in getting gamepad info with id [%d]", i);
            continue;
        }
        info.szUid[sizeof(info.szUid) - 1] = '\0';
        AddGamepadDevice(info.szUid);
    }
}

void GamepadEventDispatcher::m_DestroyAllGamepadDevices() {
    CScopedLock lock(m_tDeviceLock);
    for (const _DeviceInfo& device : m_vDeviceInfoList) {
        gamepad_destroy_device(device.iDeviceId);
        LOGI("Device with id [%d] is destroyed", device.iDeviceId);
    }
}
