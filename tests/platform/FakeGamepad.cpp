#include "FakeGamepad.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr size_t kUidLength = 255;  // of a uid only so much reaches gamepad_create_device

/// The empty list is never freed by the service; kept reachable, it is no leak.
char* NewGameAppText(const std::string& text) {
    static auto& kept = *new std::vector<char*>;
    char* const copy = strdup(text.c_str());
    if (text.empty()) {
        kept.push_back(copy);
    }
    return copy;
}

}  // namespace

void FakeGamepad::AddPad(const std::string& uid, const PadShape& shape) {
    const auto lock = recorder_.Lock();
    pads_.push_back({uid, shape});
}

void FakeGamepad::Connect(const std::string& uid, const PadShape& shape) {
    AddPad(uid, shape);
    SendConnectionNotice(GAMEPAD_CONNECTED, uid);
}

void FakeGamepad::Disconnect(const std::string& uid) {
    {
        const auto lock = recorder_.Lock();
        const auto same = [&](const Pad& pad) { return pad.uid == uid; };
        pads_.erase(std::remove_if(pads_.begin(), pads_.end(), same), pads_.end());
    }
    SendConnectionNotice(GAMEPAD_DISCONNECTED, uid);
}

void FakeGamepad::SendConnectionNotice(int type, const std::string& uid) {
    thread_.Post([this, type, uid] {
        _gamepad_device_info_s info{};
        snprintf(info.szUid, sizeof info.szUid, "%s", uid.c_str());
        auto lock = recorder_.Lock();
        const Registration<gamepad_connection_fn> slot = connectionCallback_;
        lock.unlock();
        if (slot.callback != nullptr) {
            slot.callback(type, info, slot.user);
        }
    });
}

void FakeGamepad::SendGameAppNotice(int type, int pid) {
    thread_.Post([this, type, pid] {
        auto lock = recorder_.Lock();
        const Registration<gamepad_gameapp_status_fn> slot = gameAppCallback_;
        lock.unlock();
        if (slot.callback != nullptr) {
            slot.callback(type, pid, slot.user);
        }
    });
}

void FakeGamepad::SetGameApps(const std::string& text) {
    const auto lock = recorder_.Lock();
    gameApps_ = text;
}

void FakeGamepad::SetNextDeviceId(int id) {
    const auto lock = recorder_.Lock();
    nextDeviceId_ = id;
}

bool FakeGamepad::WaitForOpenPad(const std::string& uid, int times, std::chrono::milliseconds atMost) const {
    const auto open_so_often = [&] {
        return std::count_if(devices_.begin(), devices_.end(),
                             [&](const auto& device) { return device.second.uid == uid; }) >= times;
    };
    return recorder_.WaitUntil(open_so_often, atMost);
}

std::vector<int> FakeGamepad::OpenDevices() const {
    const auto lock = recorder_.Lock();
    std::vector<int> ids;
    for (const auto& device : devices_) {
        ids.push_back(device.first);
    }
    return ids;
}

int FakeGamepad::DeviceId(const std::string& uid) const {
    const auto lock = recorder_.Lock();
    const auto found =
        std::find_if(devices_.begin(), devices_.end(), [&](const auto& device) { return device.second.uid == uid; });
    return found == devices_.end() ? -1 : found->first;
}

void FakeGamepad::PushEvent(const std::string& uid, int type, int code, int value) {
    EXPECT_TRUE(TryPushEvent(uid, type, code, value)) << "an event of pad " << uid << ", which is not open";
}

bool FakeGamepad::TryPushEvent(const std::string& uid, int type, int code, int value) {
    const auto lock = recorder_.Lock();
    bool open = false;
    ++eventTime_;
    for (auto& device : devices_) {
        if (device.second.uid == uid) {
            device.second.events.push_back({eventTime_, type, code, value});
            open = true;
        }
    }
    return open;
}

bool FakeGamepad::WaitUntilHandled(const std::string& uid, std::chrono::milliseconds atMost) const {
    std::map<int, int> before;
    {
        const auto lock = recorder_.Lock();
        for (const auto& device : devices_) {
            before[device.first] = device.second.emptyReads;
        }
    }
    const auto handled = [&] {
        return std::all_of(devices_.begin(), devices_.end(), [&](const auto& device) {
            return device.second.uid != uid ||
                   (device.second.events.empty() && device.second.emptyReads > before[device.first]);
        });
    };
    return recorder_.WaitUntil(handled, atMost);
}

void FakeGamepad::AnswerGetEvents(GetEvents answer) {
    const auto lock = recorder_.Lock();
    answerGetEvents_ = std::move(answer);
}

template <class Effect>
int FakeGamepad::Run(const char* function, std::vector<std::string> arguments, Effect effect) {
    return recorder_.Run(function, std::move(arguments), kOneIsSuccess, [&] {
        if (connection_ == Connection::Closed) {
            recorder_.ViolateLocked(std::string(function) + " after gamepad_close");
        }
        return effect();
    });
}

int FakeGamepad::OnOpen(int mode, int unused) {
    return recorder_.Run("gamepad_open_for_custom_mode", {ArgumentText(mode), ArgumentText(unused)}, kOneIsSuccess,
                         [&] {
                             if (connection_ == Connection::Open) {
                                 recorder_.ViolateLocked("gamepad_open_for_custom_mode a second time");
                             }
                             connection_ = Connection::Open;
                             return 1;
                         });
}

int FakeGamepad::OnClose() {
    return recorder_.Run("gamepad_close", {}, kOneIsSuccess, [&] {
        if (connection_ != Connection::Open) {
            recorder_.ViolateLocked("gamepad_close without an open connection");
        }
        connection_ = Connection::Closed;
        return 1;
    });
}

template <class Callback>
int FakeGamepad::Register(const char* function, Registration<Callback>& slot, Callback callback, void* user) {
    return Run(function, {PointerText(callback != nullptr), PointerText(user != nullptr)}, [&] {
        if (callback == nullptr) {
            recorder_.ViolateLocked(std::string(function) + " of nobody");
            return 0;
        }
        if (slot.callback != nullptr) {
            recorder_.ViolateLocked(std::string(function) + " a second time");
        }
        slot = {callback, user};
        return 1;
    });
}

template <class Callback>
int FakeGamepad::Unregister(const char* function, Registration<Callback>& slot, Callback callback) {
    const int result = Run(function, {PointerText(callback != nullptr)}, [&] {
        if (slot.callback != callback || callback == nullptr) {
            recorder_.ViolateLocked(std::string(function) + " of what is not registered");
            return 0;
        }
        slot = {};
        return 1;
    });
    if (!thread_.WaitUntilIdle(kSoon)) {
        const auto lock = recorder_.Lock();
        recorder_.ViolateLocked("a gamepad callback does not return");
    }
    return result;
}

int FakeGamepad::OnRegister(gamepad_connection_fn callback, void* user) {
    return Register("gamepad_register_connection_callback", connectionCallback_, callback, user);
}
int FakeGamepad::OnUnregister(gamepad_connection_fn callback) {
    return Unregister("gamepad_unregister_connection_callback", connectionCallback_, callback);
}
int FakeGamepad::OnRegister(gamepad_gameapp_status_fn callback, void* user) {
    return Register("gamepad_register_gameapp_status_callback", gameAppCallback_, callback, user);
}
int FakeGamepad::OnUnregister(gamepad_gameapp_status_fn callback) {
    return Unregister("gamepad_unregister_gameapp_status_callback", gameAppCallback_, callback);
}

int FakeGamepad::OnGameApps(char** text) {
    return Run("gamepad_get_all_gameapp_info_list", {PointerText(text != nullptr)}, [&] {
        if (text == nullptr) {
            recorder_.ViolateLocked("gamepad_get_all_gameapp_info_list without a place for the text");
            return 0;
        }
        *text = NewGameAppText(gameApps_);
        return 1;
    });
}

int FakeGamepad::OnCount() {
    const Convention any_count{-1000, 0};
    return recorder_.Run("gamepad_get_connected_gampad_count", {}, any_count,
                         [&] { return static_cast<int>(pads_.size()); });
}

int FakeGamepad::OnInfo(_gamepad_device_info_s* info, unsigned char* flag, int index) {
    return Run("gamepad_get_connected_device_Info",
               {PointerText(info != nullptr), PointerText(flag != nullptr), ArgumentText(index)}, [&] {
                   if (index < 0 || static_cast<size_t>(index) >= pads_.size()) {
                       return 0;
                   }
                   const std::string& uid = pads_[static_cast<size_t>(index)].uid;
                   snprintf(info->szUid, sizeof info->szUid, "%s", uid.c_str());
                   return 1;
               });
}

const FakeGamepad::Pad* FakeGamepad::FindPadLocked(const std::string& uid) const {
    const auto found =
        std::find_if(pads_.begin(), pads_.end(), [&](const Pad& pad) { return pad.uid.substr(0, kUidLength) == uid; });
    return found == pads_.end() ? nullptr : &*found;
}

int FakeGamepad::LowestFreeIdLocked() {
    int id = std::exchange(nextDeviceId_, -1);
    for (id = std::max(id, 0); devices_.count(id) != 0; ++id) {
    }
    return id;
}

int FakeGamepad::OnCreate(const char* uid, int* deviceId) {
    return Run("gamepad_create_device", {ArgumentText(uid), PointerText(deviceId != nullptr)}, [&] {
        const Pad* const pad = uid != nullptr && deviceId != nullptr ? FindPadLocked(uid) : nullptr;
        if (pad == nullptr) {
            return 0;
        }
        *deviceId = LowestFreeIdLocked();
        devices_[*deviceId] = {pad->uid, pad->shape, {}, 0};
        return 1;
    });
}

FakeGamepad::Device* FakeGamepad::FindLocked(const char* function, int deviceId) {
    const auto found = devices_.find(deviceId);
    if (found == devices_.end()) {
        recorder_.ViolateLocked(std::string(function) + " of device " + std::to_string(deviceId) +
                                ", which is not open");
        return nullptr;
    }
    return &found->second;
}

int FakeGamepad::OnDestroy(int deviceId) {
    return Run("gamepad_destroy_device", {ArgumentText(deviceId)}, [&] {
        return FindLocked("gamepad_destroy_device", deviceId) == nullptr ? 0 : (devices_.erase(deviceId), 1);
    });
}

int FakeGamepad::OnIsStandard(int deviceId, bool* standard) {
    return Run("is_standard_gamepad", {ArgumentText(deviceId), PointerText(standard != nullptr)}, [&] {
        const Device* const device = FindLocked("is_standard_gamepad", deviceId);
        return device == nullptr ? 0 : (*standard = device->shape.standard, 1);
    });
}

int FakeGamepad::OnRange(int deviceId, int axis, int* maximum, int* minimum) {
    return Run("gamepad_get_abs_value_range", {ArgumentText(deviceId), ArgumentText(axis)}, [&] {
        const Device* const device = FindLocked("gamepad_get_abs_value_range", deviceId);
        if (device == nullptr || device->shape.ranges.count(axis) == 0) {
            return 0;
        }
        *maximum = device->shape.ranges.at(axis).maximum;
        *minimum = device->shape.ranges.at(axis).minimum;
        return 1;
    });
}

int FakeGamepad::ReadLocked(Device& device, _gamepad_event_s* events, int* count) {
    const int capacity = *count;
    device.emptyReads += device.events.empty() ? 1 : 0;
    for (*count = 0; *count < capacity && !device.events.empty(); ++*count) {
        events[*count] = device.events.front();
        device.events.pop_front();
    }
    return *count > 0 ? 1 : 0;
}

int FakeGamepad::OnGetEvents(int deviceId, _gamepad_event_s* events, int* count) {
    GetEvents answer;
    {
        const auto lock = recorder_.Lock();
        answer = answerGetEvents_;
    }
    const int result = Run("gamepad_get_events", {ArgumentText(deviceId), ArgumentText(*count)}, [&] {
        Device* const device = FindLocked("gamepad_get_events", deviceId);
        return device == nullptr || answer ? 0 : ReadLocked(*device, events, count);
    });
    return answer ? answer(deviceId, events, count) : result;
}

void FakeGamepad::AppendGamepadLeftovers(std::vector<std::string>& leftovers) const {
    const auto lock = recorder_.Lock();
    if (connection_ == Connection::Open) {
        leftovers.emplace_back("gamepad connection");
    }
    if (connectionCallback_.callback != nullptr) {
        leftovers.emplace_back("connection callback");
    }
    if (gameAppCallback_.callback != nullptr) {
        leftovers.emplace_back("game-app callback");
    }
    for (const auto& device : devices_) {
        leftovers.push_back("device " + std::to_string(device.first));
    }
}
