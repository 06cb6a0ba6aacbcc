#include "GamepadRemoteController.h"

#include "CVConf.h"
#include "Log.h"
#include "platform/virtual_key.h"

namespace {

constexpr int NO_KEY = -1;
constexpr int VK_HOMEVIEW = 71;
constexpr int VK_PLAYDECK = 572;
constexpr int VK_LEFT = 113;
constexpr int VK_RIGHT = 114;
constexpr int VK_UP = 111;
constexpr int VK_DOWN = 116;

constexpr int PLAYDECK_STATUS_NOT_EXIST = 0;
constexpr int PLAYDECK_STATUS_NO_CLOUDGAME_RUNNING = 1;
constexpr int PLAYDECK_STATUS_HOLD_HOME = 1000;  // the one status in which Home works by its hold time
constexpr unsigned long HOME_HOLD_MS = 1000;

constexpr int BUTTON_HOMEPAGE = 398;

struct ButtonKey {
    int32_t iButton;
    int iVirtualKey;
};
constexpr ButtonKey BUTTON_KEYS[] = {{0, 36}, {1, 9}, {2, 148}, {11, 74}, {12, 571}};

/// What pushing a stick sends, and where on this device it counts as pushed.
struct StickAxis {
    int32_t iUpper;
    int32_t iLower;
    int iUpperKey;
    int iLowerKey;
};

// The right stick is not symmetric: RX sends the higher number on its upper side, RY the lower one.
bool FindStick(const _DeviceInfo& device, int32_t axis, StickAxis& stick) {
    switch (axis) {
        case gamepad::AXIS_X:
            stick = {device.iXUpper, device.iXLower, VK_RIGHT, VK_LEFT};
            return true;
        case gamepad::AXIS_Y:
            stick = {device.iYUpper, device.iYLower, VK_DOWN, VK_UP};
            return true;
        case gamepad::AXIS_RX:
            stick = {device.iRxUpper, device.iRxLower, 96, 95};
            return true;
        case gamepad::AXIS_RY:
            stick = {device.iRyUpper, device.iRyLower, 75, 76};
            return true;
        default:
            return false;
    }
}

int StickKey(const StickAxis& stick, int32_t value) {
    if (value > stick.iUpper) {
        return stick.iUpperKey;
    }
    return value < stick.iLower ? stick.iLowerKey : NO_KEY;
}

bool IsHat(int32_t axis) {
    return axis == gamepad::AXIS_HAT0X || axis == gamepad::AXIS_HAT0Y;
}

int HatKey(int32_t axis, int32_t value) {
    const bool isX = axis == gamepad::AXIS_HAT0X;
    if (value == -1) {
        return isX ? VK_LEFT : VK_UP;
    }
    if (value == 1) {
        return isX ? VK_RIGHT : VK_DOWN;
    }
    return NO_KEY;
}

int AxisVirtualKey(const _DeviceInfo& device, const _gamepad_event_s& event) {
    StickAxis stick = {};
    if (FindStick(device, event.code, stick)) {
        return StickKey(stick, event.value);
    }
    return IsHat(event.code) ? HatKey(event.code, event.value) : NO_KEY;
}

const char* StatusName(int status) {
    switch (status) {
        case PLAYDECK_STATUS_NOT_EXIST:
            return "PLAYDECK_STATUS_NOT_EXIST";
        case PLAYDECK_STATUS_NO_CLOUDGAME_RUNNING:
            return "PLAYDECK_STATUS_NO_CLOUDGAME_RUNNING";
        default:
            return "PLAYDECK_STATUS_CLOUDGAME_RUNNING";
    }
}

}  // namespace

GamepadRemoteController::GamepadRemoteController() {
    LOGI("Constructor is called");
}

GamepadRemoteController::~GamepadRemoteController() {
    LOGI("Destructor is called");
}

bool GamepadRemoteController::Initialize() {
    LOGI("[Initialize]enter");
    const int result = VirtualKey_Initialize("gamepad-service");
    if (result != 1) {
        LOGE("Call[VirtualKey_Initialize]err[%d]", result);
        return false;
    }
    CVConf::RegisterPlaydeckStatusCallback(PlaydeckStatusChangeCallback, this);
    int status = m_iPlaydeckStatus;
    CVConf::GetPlaydeckStatus(status);
    m_iPlaydeckStatus = status;
    m_oCombineKeyHandler.RegisterCombinationKey(10, NO_KEY, 11, 74, 124, 1000);
    LOGI("[Initialize]exit");
    return true;
}

void GamepadRemoteController::DeInitialize() {
    LOGI("[DeInitialize]enter");
    if (m_oCombineKeyHandler.FlagCreate()) {
        m_oCombineKeyHandler.Destroy();
    }
    VirtualKey_Finalize();
    CVConf::UnRegisterPlaydeckStatusCallback(PlaydeckStatusChangeCallback);
    for (GamepadTimer& timer : m_oHomeKeyTimer) {
        if (timer.FlagCreate()) {
            timer.UnregisterCallback(this);
            timer.DestroyTimer();
        }
    }
    LOGI("[DeInitialize]exit");
}

void GamepadRemoteController::SendRemoteControllerEvent(const _DeviceInfo& device, const _gamepad_event_s& event) {
    LOGI("[Menu Mode]Get a event from [%s]:time[%llu]type[%d]code[%d]val[%ld]", device.szUid,
         static_cast<unsigned long long>(event.time), event.type, event.code, static_cast<long>(event.value));
    if (m_bIsPressed) {
        if (m_CheckReleaseEvent(device, event)) {
            m_SendRelease(__func__);
        }
        return;
    }
    LOGI("No need release! check if any RemoteControl Press event");
    if (m_oCombineKeyHandler.IsCombinationKey(event.code)) {
        LOGI("KeyCode [%d] is a combined key, go to handle", event.code);
        m_oCombineKeyHandler.HandleKeyEvent(event);
        return;
    }
    const int virtualKey = m_CheckPressEvent(device, event);
    if (virtualKey == NO_KEY) {
        LOGI("Menu Mode doesn't support such gamepad key[%d] or Can't trigger RC Simulation", event.code);
        return;
    }
    m_PressVirtualKey(virtualKey, event);
}

void GamepadRemoteController::m_PressVirtualKey(int virtualKey, const _gamepad_event_s& event) {
    constexpr char OPERATION[] = "SendRemoteControllerEvent";
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Sent virtualkey [Press] event with code:[%d]", virtualKey);
    VirtualKey_Send_KeyCode(virtualKey, KEY_ACTION_PRESS);
    m_iPressedKeyCode = event.code;
    m_iPressedKeyType = event.type;
    m_iPressedVirtualKey = virtualKey;
    m_bIsPressed = true;
    m_bOwesRelease = true;
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "Pressed: KeyType[%x]KeyCode[%x]VirtualKeyCode[%d]",
           static_cast<unsigned>(event.type), static_cast<unsigned>(event.code), virtualKey);
}

// The dispatcher and a pad's removal may want to release at once, and neither may hold the other's lock. Whoever takes
// the debt sends the release; the slot counts as held until that is done, so that no press overtakes it.
void GamepadRemoteController::m_SendRelease(const char* operation) {
    if (!m_bOwesRelease.exchange(false)) {
        return;
    }
    const int virtualKey = m_iPressedVirtualKey;
    LOG_AS(operation, __LINE__, DLOG_INFO, "Sent virtualkey [Release] event with code:[%d]", virtualKey);
    VirtualKey_Send_KeyCode(virtualKey, KEY_ACTION_RELEASE);
    m_bIsPressed = false;
}

void GamepadRemoteController::ReleaseVirtualKey() {
    if (m_bIsPressed) {
        m_SendRelease(__func__);
    }
}

int GamepadRemoteController::m_HomeVirtualKey() const {
    return m_iPlaydeckStatus == PLAYDECK_STATUS_NOT_EXIST ? VK_HOMEVIEW : VK_PLAYDECK;
}

int GamepadRemoteController::m_ButtonVirtualKey(const _gamepad_event_s& event) const {
    if (event.value != 1) {
        return NO_KEY;
    }
    if (event.code == gamepad::BUTTON_HOME || event.code == BUTTON_HOMEPAGE) {
        return m_HomeVirtualKey();
    }
    for (const ButtonKey& key : BUTTON_KEYS) {
        if (key.iButton == event.code) {
            return key.iVirtualKey;
        }
    }
    return NO_KEY;
}

int GamepadRemoteController::m_CheckPressEvent(const _DeviceInfo& device, const _gamepad_event_s& event) const {
    int virtualKey = NO_KEY;
    if (event.type == gamepad::TYPE_BUTTON) {
        virtualKey = m_ButtonVirtualKey(event);
    } else if (event.type == gamepad::TYPE_AXIS) {
        virtualKey = AxisVirtualKey(device, event);
    }
    LOGI("virtualKeyCode = [%d]", virtualKey);
    return virtualKey;
}

bool GamepadRemoteController::m_CheckReleaseEvent(const _DeviceInfo& device, const _gamepad_event_s& event) const {
    if (event.type != m_iPressedKeyType || event.code != m_iPressedKeyCode) {
        LOGI("Ignore invalid gamepad key event! pressed:KeyType[%x]KeyCode=[%x]current:KeyType[%x]KeyCode[%x]",
             static_cast<unsigned>(m_iPressedKeyType), static_cast<unsigned>(m_iPressedKeyCode),
             static_cast<unsigned>(event.type), static_cast<unsigned>(event.code));
        return false;
    }
    if (event.type == gamepad::TYPE_BUTTON) {
        return event.value == 0;
    }
    if (event.type != gamepad::TYPE_AXIS) {
        return false;
    }
    StickAxis stick = {};
    if (FindStick(device, event.code, stick)) {
        return stick.iLower <= event.value && event.value <= stick.iUpper;
    }
    if (IsHat(event.code)) {
        return event.value == 0;
    }
    LOGI("Unsupported ABS Type");
    return false;
}

void GamepadRemoteController::PlaydeckStatusChangeCallback(keynode_t* node, void* user_data) {
    if (user_data == nullptr) {
        return;
    }
    const int status = vconf_keynode_get_int(node);
    LOGI("Playdeck status is changed to[%s]", StatusName(status));
    static_cast<GamepadRemoteController*>(user_data)->m_iPlaydeckStatus = status;
}

void GamepadRemoteController::HandleHomeKey(int deviceId, bool isMenuMode, const _gamepad_event_s& event) {
    m_HandleHomeKey(deviceId, isMenuMode, event);
}

void GamepadRemoteController::m_HandleHomeKey(int deviceId, bool isMenuMode, const _gamepad_event_s& event) {
    LOGI("[%s][HomeKey]PlaydeckStatus[%d]EventValue[%ld]DeviceId[%d]", isMenuMode ? "MenuMode" : "GameMode",
         m_iPlaydeckStatus.load(), static_cast<long>(event.value), deviceId);
    if (!isMenuMode) {
        LOGI("NOT Menu Mode, don't handle Home Key");
        return;
    }
    const int status = m_iPlaydeckStatus;
    if (status == PLAYDECK_STATUS_HOLD_HOME) {
        m_HandleHomeHold(deviceId, event);
    } else if (event.value == 1) {
        m_SendHomeKey(status, deviceId);
    }
}

// Unlike button 398, Home sends nothing for statuses other than these two.
void GamepadRemoteController::m_SendHomeKey(int status, int deviceId) {
    constexpr char OPERATION[] = "m_HandleHomeKey";
    if (status == PLAYDECK_STATUS_NOT_EXIST) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[MenuMode][HomeKey]Send Homeview vk[%d] for device[%d]", VK_HOMEVIEW,
               deviceId);
        VirtualKey_Send_KeyCode(VK_HOMEVIEW, KEY_ACTION_AUTO_PRESS_RELEASE);
    } else if (status == PLAYDECK_STATUS_NO_CLOUDGAME_RUNNING) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[MenuMode][HomeKey]Send Playdeck vk[%d] for device[%d]", VK_PLAYDECK,
               deviceId);
        VirtualKey_Send_KeyCode(VK_PLAYDECK, KEY_ACTION_AUTO_PRESS_RELEASE);
    }
}

void GamepadRemoteController::m_HandleHomeHold(int deviceId, const _gamepad_event_s& event) {
    if (deviceId < 0 || deviceId >= TIMER_COUNT) {
        LOG_AS("m_HandleHomeKey", __LINE__, DLOG_INFO, "[HomeKey]invalid device id:[%d]", deviceId);
        return;
    }
    if (event.value == 1) {
        m_StartHomeTimer(deviceId);
    } else if (event.value == 0) {
        m_StopHomeTimer(deviceId);
    }
}

void GamepadRemoteController::m_StartHomeTimer(int deviceId) {
    constexpr char OPERATION[] = "m_HandleHomeKey";
    GamepadTimer& timer = m_oHomeKeyTimer[deviceId];
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[HomeKey Press]start timer to check press time for device[%d]", deviceId);
    if (!timer.FlagCreate()) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[HomeKey Press]create timer for device[%d]", deviceId);
        timer.CreateTimer(HOME_HOLD_MS, deviceId);
        timer.RegisterCallback(this);
    }
    timer.StartTimer();
}

void GamepadRemoteController::m_StopHomeTimer(int deviceId) {
    constexpr char OPERATION[] = "m_HandleHomeKey";
    LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[HomeKey Release]");
    GamepadTimer& timer = m_oHomeKeyTimer[deviceId];
    if (timer.FlagCreate()) {
        LOG_AS(OPERATION, __LINE__, DLOG_INFO, "[HomeKey Release]stop timer for device[%d]", deviceId);
        timer.StopTimer();
    }
}

void GamepadRemoteController::t_OnCallback(int type, void* data, void*, void*) {
    if (type != 0 || data == nullptr) {
        return;
    }
    const int deviceId = *static_cast<int*>(data);
    VirtualKey_Send_KeyCode(VK_PLAYDECK, KEY_ACTION_AUTO_PRESS_RELEASE);
    LOGI("[HomeKey Long Press Timeout]Send Playdeck vk[%d] for device[%d]", VK_PLAYDECK, deviceId);
    if (deviceId >= 0 && deviceId < TIMER_COUNT && m_oHomeKeyTimer[deviceId].FlagCreate()) {
        LOGI("[HomeKey Press Timeout]stop timer for device[%d]", deviceId);
        m_oHomeKeyTimer[deviceId].StopTimer();
    }
}
