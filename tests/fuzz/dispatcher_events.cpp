// Whatever the gamepad library may hand to the dispatcher: events of any kind, counts that lie, pads without a proper
// name, ranges that are none; with games, focus and settings changing in between.

#include <algorithm>
#include <cstring>

#include "fuzz.h"
#include "service_life.h"

namespace {

constexpr int kRoom = 16;     // events in the dispatcher's buffer
constexpr int kMostPads = 8;  // connected in one run
constexpr int kMostSteps = 64;

gamepad_connection_fn gConnection = nullptr;

}  // namespace

extern "C" {
int __wrap_gamepad_register_connection_callback(gamepad_connection_fn callback, void* user);
int __real_gamepad_register_connection_callback(gamepad_connection_fn callback, void* user);
}
int __wrap_gamepad_register_connection_callback(gamepad_connection_fn callback, void* user) {
    gConnection = callback;
    return __real_gamepad_register_connection_callback(callback, user);
}

namespace {

class Script {
public:
    Script(FakePlatform& platform, fuzz::Input& input) : platform_(platform), input_(input) {}

    bool Step() {
        if (input_.IsEmpty() || --stepsLeft_ == 0) {
            return false;
        }
        switch (input_.Byte() % 8) {
            case 0:
                Connect();
                break;
            case 1:
                Disconnect();
                break;
            case 2:
                platform_.SendGameAppNotice(input_.Byte() % 3, input_.Int());
                break;
            case 3:
                ChangeFocus();
                break;
            case 4:
                platform_.SetInt("memory/accessory/playnest_status", input_.Flag() ? 1000 : input_.Int());
                break;
            default:
                break;  // the pads' events only
        }
        return platform_.WaitUntilNoticesTold() && platform_.WaitUntilAppStatusTold();
    }

    /// In the library's place. The count may be any; what stands in the buffer is never more than it has room for.
    int Events(_gamepad_event_s* events, int* count) {
        const int given = std::min<int>(input_.Byte() % 20, kRoom);
        for (int i = 0; i < given; ++i) {
            events[i] = Event();
        }
        const std::uint8_t kind = input_.Byte();
        *count = kind % 8 == 7 ? input_.Int() : given;
        return kind < 224 ? 1 : input_.Int();
    }

private:
    _gamepad_event_s Event() {
        const std::uint8_t kind = input_.Byte();
        if (kind >= 240) {
            return input_.Take<_gamepad_event_s>();
        }
        const int code = kind % 4 == 3 ? 14 : input_.Byte();
        return {kind, kind % 2 == 0 ? 1 : 3, code, kind < 128 ? static_cast<std::int8_t>(input_.Byte()) : input_.Int()};
    }

    void Connect() {
        if (pads_++ == kMostPads) {
            return;
        }
        PadShape shape;
        for (int left = input_.Byte() % 8; left > 0; --left) {
            const int axis = input_.Byte() % 20;
            const int maximum = input_.Int();
            shape.ranges[axis] = {maximum, input_.Flag() ? maximum : input_.Int()};
        }
        const _gamepad_device_info_s info = Info();
        if (input_.Flag()) {
            platform_.SetNextDeviceId(input_.Byte());
        }
        platform_.AddPad(std::string(info.szUid, strnlen(info.szUid, sizeof info.szUid - 1)), shape);
        gConnection(input_.Flag() ? GAMEPAD_CONNECTED : input_.Int(), info, nullptr);
    }

    void Disconnect() { gConnection(GAMEPAD_DISCONNECTED, Info(), nullptr); }

    /// A short name, or one that fills all of its place.
    _gamepad_device_info_s Info() {
        _gamepad_device_info_s info{};
        const std::uint8_t kind = input_.Byte();
        if (kind < 128) {
            info.szUid[0] = static_cast<char>('a' + kind % 4);
        } else {
            std::memset(info.szUid, kind, sizeof info.szUid);
        }
        return info;
    }

    void ChangeFocus() {
        const int pid = input_.Int();
        platform_.SetApp(pid, input_.Flag() ? "com.velmora.tv.keypane-app" : input_.Text(), input_.Byte() % 4);
        platform_.SendAppStatus(pid, input_.Byte() % 9);
    }

    FakePlatform& platform_;
    fuzz::Input& input_;
    int pads_ = 0;
    int stepsLeft_ = kMostSteps;
};

// Never two keys at once, whoever presses them.
void WatchKeys(FakePlatform& platform) {
    platform.OnCall("VirtualKey_Send_KeyCode", [&platform](const Call&) {
        fuzz::Require(platform.KeysDown().size() <= 1, "at most one key is held");
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    FakePlatform platform;
    WatchKeys(platform);
    platform.AddPad("a");
    platform.SetInt("memory/accessory/playnest_status", input.Byte() % 3 == 2 ? 1000 : input.Byte() % 2);
    Script script(platform, input);
    platform.AnswerGetEvents(
        [&script](int, _gamepad_event_s* events, int* count) { return script.Events(events, count); });
    fuzz::ServiceLife::Run(platform, [&script] { return script.Step(); });
    return 0;
}
