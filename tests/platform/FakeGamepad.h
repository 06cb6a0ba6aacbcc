#pragma once

#include <platform/gamepad.h>

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "CallRecorder.h"
#include "LibraryThread.h"

struct AxisRange {
    int maximum;
    int minimum;
};

/// What a pad is like: axes that are not listed have no readable range.
struct PadShape {
    std::map<int, AxisRange> ranges = {
        {0, {32767, -32768}}, {1, {32767, -32768}}, {3, {32767, -32768}}, {4, {32767, -32768}}};
    bool standard = true;
};

/// The gamepad client library. No pad and no game application at first; device ids start at 0, the lowest free one is
/// taken. A pad is found by the first 255 characters of its uid.
///
/// Notices come on the thread "gamepad-lib". Unregistering waits for the notice that is being delivered.
/// Strict: no call after gamepad_close, no second close, no unknown device id, no second callback, and only what was
/// registered is unregistered.
class FakeGamepad {
public:
    using GetEvents = std::function<int(int deviceId, _gamepad_event_s* events, int* count)>;

    explicit FakeGamepad(CallRecorder& recorder) : recorder_(recorder), thread_("gamepad-lib") {}

    void AddPad(const std::string& uid, const PadShape& shape = {});  ///< connected, without a notice
    void Connect(const std::string& uid, const PadShape& shape = {});
    void Disconnect(const std::string& uid);
    /// The notice alone, whatever is connected.
    void SendConnectionNotice(int type, const std::string& uid);
    void SendGameAppNotice(int type, int pid);
    bool WaitUntilNoticesTold(std::chrono::milliseconds atMost = kSoon) const { return thread_.WaitUntilIdle(atMost); }

    void SetGameApps(const std::string& text);  ///< what gamepad_get_all_gameapp_info_list hands out
    /// The library says that many pads are connected, whatever is true.
    void SetPadCount(int count) { recorder_.Return("gamepad_get_connected_gampad_count", count); }
    void SetNextDeviceId(int id);  ///< of the next pad that is opened

    bool WaitForOpenPad(const std::string& uid, int times = 1, std::chrono::milliseconds atMost = kSoon) const;
    std::vector<int> OpenDevices() const;
    int DeviceId(const std::string& uid) const;  ///< of the first one open under that uid, -1 for none

    /// Events of an open pad, read by every device that is open under its uid. A pad that is not open fails the test.
    void PushEvent(const std::string& uid, int type, int code, int value);
    /// The same where it may have been closed meanwhile: false then.
    bool TryPushEvent(const std::string& uid, int type, int code, int value);
    void PressButton(const std::string& uid, int button) { PushEvent(uid, 1, button, 1); }
    void ReleaseButton(const std::string& uid, int button) { PushEvent(uid, 1, button, 0); }
    void MoveAxis(const std::string& uid, int axis, int value) { PushEvent(uid, 3, axis, value); }
    /// True as soon as all events of the pad were read and its reader came back for more: it is through with them.
    bool WaitUntilHandled(const std::string& uid, std::chrono::milliseconds atMost = kSoon) const;
    /// Answers gamepad_get_events in the library's place, on the caller's thread; an empty function ends that.
    void AnswerGetEvents(GetEvents answer);

    int OnOpen(int mode, int unused);
    int OnClose();
    int OnRegister(gamepad_connection_fn callback, void* user);
    int OnUnregister(gamepad_connection_fn callback);
    int OnRegister(gamepad_gameapp_status_fn callback, void* user);
    int OnUnregister(gamepad_gameapp_status_fn callback);
    int OnGameApps(char** text);
    int OnCount();
    int OnInfo(_gamepad_device_info_s* info, unsigned char* flag, int index);
    int OnCreate(const char* uid, int* deviceId);
    int OnDestroy(int deviceId);
    int OnIsStandard(int deviceId, bool* standard);
    int OnRange(int deviceId, int axis, int* maximum, int* minimum);
    int OnGetEvents(int deviceId, _gamepad_event_s* events, int* count);

protected:
    void AppendGamepadLeftovers(std::vector<std::string>& leftovers) const;
    LibraryThread& GamepadThread() { return thread_; }

private:
    enum class Connection { Never, Open, Closed };
    struct Pad {
        std::string uid;
        PadShape shape;
    };
    struct Device {
        std::string uid;
        PadShape shape;
        std::deque<_gamepad_event_s> events;
        int emptyReads = 0;
    };
    template <class Callback>
    struct Registration {
        Callback callback = nullptr;
        void* user = nullptr;
    };

    template <class Effect>
    int Run(const char* function, std::vector<std::string> arguments, Effect effect);
    template <class Callback>
    int Register(const char* function, Registration<Callback>& slot, Callback callback, void* user);
    template <class Callback>
    int Unregister(const char* function, Registration<Callback>& slot, Callback callback);
    Device* FindLocked(const char* function, int deviceId);
    const Pad* FindPadLocked(const std::string& uid) const;
    int LowestFreeIdLocked();
    int ReadLocked(Device& device, _gamepad_event_s* events, int* count);

    CallRecorder& recorder_;
    Connection connection_ = Connection::Never;
    std::vector<Pad> pads_;
    std::map<int, Device> devices_;
    int nextDeviceId_ = -1;
    uint64_t eventTime_ = 0;
    std::string gameApps_;
    GetEvents answerGetEvents_;
    Registration<gamepad_connection_fn> connectionCallback_;
    Registration<gamepad_gameapp_status_fn> gameAppCallback_;
    LibraryThread thread_;
};
