#include "service_keys.h"

#include <linux/input.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "EventHandler/src/GamepadRemoteController.h"
#include "caught.h"
#include "gamepad/button_table.h"
#include "platform/virtual_key.h"

namespace doctor {
namespace {

// Longer than any hold of the service; on a machine that has nothing else to do the wait is as long as the hold.
constexpr std::chrono::seconds kPatience{10};
constexpr int kDevice = 0;

const Input kHome{EV_KEY, gamepad::BUTTON_HOME, 1};

/// The last key that went down, and what the service said of the input.
class Heard : public Catcher {
public:
    void OnKey(const SentKey& key) override {
        const std::lock_guard<std::mutex> hold(lock_);
        if (key.action != KEY_ACTION_RELEASE) {
            code_ = key.code;
            came_.notify_all();
        }
    }

    void OnMessage(const Message& message) override {
        const std::lock_guard<std::mutex> hold(lock_);
        is_timed_ = is_timed_ || message.text.find("[HomeKey Press]start timer") == 0;
        is_combined_ = is_combined_ || message.text.find("is a combined key") != std::string::npos;
    }

    int Take() {
        const std::lock_guard<std::mutex> hold(lock_);
        return std::exchange(code_, -1);
    }

    int Await() {
        std::unique_lock<std::mutex> hold(lock_);
        came_.wait_for(hold, kPatience, [this] { return code_ != -1; });
        return std::exchange(code_, -1);
    }

    bool TakeIsTimed() {
        const std::lock_guard<std::mutex> hold(lock_);
        return std::exchange(is_timed_, false);
    }

    bool TakeIsCombined() {
        const std::lock_guard<std::mutex> hold(lock_);
        return std::exchange(is_combined_, false);
    }

private:
    std::mutex lock_;
    std::condition_variable came_;
    int code_ = -1;
    bool is_timed_ = false;
    bool is_combined_ = false;
};

/// Every position beside the middle one is beyond its thresholds.
_DeviceInfo SensitivePad() {
    _DeviceInfo pad;
    pad.iDeviceId = kDevice;
    for (int32_t* threshold : {&pad.iXUpper, &pad.iXLower, &pad.iYUpper, &pad.iYLower, &pad.iRxUpper, &pad.iRxLower,
                               &pad.iRyUpper, &pad.iRyLower}) {
        *threshold = 0;
    }
    return pad;
}

std::vector<Input> AllInputs() {
    std::vector<Input> inputs;
    for (const gamepad::ButtonNumber& button : gamepad::Buttons()) {
        inputs.push_back({EV_KEY, button.number, 1});
    }
    for (const int axis : {ABS_X, ABS_Y, ABS_Z, ABS_RX, ABS_RY, ABS_RZ, ABS_HAT0X, ABS_HAT0Y}) {
        inputs.push_back({EV_ABS, axis, -1});
        inputs.push_back({EV_ABS, axis, 1});
    }
    return inputs;
}

/// The translator alone: no pad, no game, no application.
class Translator {
public:
    Translator() { service_.Initialize(); }
    ~Translator() { service_.DeInitialize(); }

    void Move(const Input& input, int value) {
        const _gamepad_event_s event{0, input.type, input.code, value};
        if (input.code == gamepad::BUTTON_HOME) {
            service_.HandleHomeKey(kDevice, /*isMenuMode=*/true, event);
        } else {
            service_.SendRemoteControllerEvent(SensitivePad(), event);
        }
    }

private:
    GamepadRemoteController service_;
};

void AskForHeld(Translator& translator, Heard& heard, const std::vector<Input>& inputs, ServiceKeys& keys) {
    for (const Input& input : inputs) {
        translator.Move(input, input.value);
    }
    heard.Take();  // what the first of them sends alone
    const int code = heard.Await();
    for (const Input& input : inputs) {
        translator.Move(input, 0);
    }
    if (code != -1) {
        keys.held.push_back({inputs, code});
    }
}

}  // namespace

ServiceKeys AskService() {
    Heard heard;
    const Catching catching(heard);
    Translator translator;
    ServiceKeys keys;
    std::vector<Input> combined;
    for (const Input& input : AllInputs()) {
        heard.Take();
        translator.Move(input, input.value);
        if (const int code = heard.Take(); code != -1) {
            keys.at_once[input] = code;
        }
        if (heard.TakeIsCombined()) {
            combined.push_back(input);
        }
        translator.Move(input, 0);
        heard.TakeIsCombined();
    }
    AskForHeld(translator, heard, combined, keys);
    if (heard.TakeIsTimed()) {
        AskForHeld(translator, heard, {kHome}, keys);
    }
    return keys;
}

}  // namespace doctor
