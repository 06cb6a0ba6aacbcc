#include "aul/on_screen_keyboard.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "aul/focus_state.h"

namespace aul {
namespace {

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

// Reads a variant that should hold a boolean; false when it does not.
bool ReadBool(sd_bus_message* message, bool& value) {
    char type = 0;
    const char* contents = nullptr;  // of a type that has any
    int number = 0;
    if (SdBus().sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != 'v' ||
        std::strcmp(contents, "b") != 0 || SdBus().sd_bus_message_read(message, "v", "b", &number) <= 0) {
        return false;
    }
    value = number != 0;
    return true;
}

// Reads {'name': <value>, ...} as far as the wanted one.
bool ReadProperty(sd_bus_message* message, const std::string& wanted, bool& value) {
    bool isFound = false;
    if (SdBus().sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return false;
    }
    while (!isFound && SdBus().sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        if (SdBus().sd_bus_message_read(message, "s", &name) <= 0) {
            return false;
        }
        isFound = name == wanted && ReadBool(message, value);
        if (!isFound &&
            (SdBus().sd_bus_message_skip(message, "v") < 0 || SdBus().sd_bus_message_exit_container(message) < 0)) {
            return false;
        }
    }
    return isFound;
}

}  // namespace

OnScreenKeyboard::OnScreenKeyboard(Bus& bus, const Bus::Member& visible, TellFunction tell)
    : bus_(bus), visible_(visible), tell_(std::move(tell)) {
    bus_.WatchName(visible_.name, [this](bool isOwned) { OnOwner(isOwned); });
    bus_.Subscribe({visible_.name, visible_.path, kProperties, "PropertiesChanged"},
                   [this](sd_bus_message* signal) { OnChange(signal); });
}

OnScreenKeyboard::~OnScreenKeyboard() {
    FocusState::TheOne().RemoveKeyboard(pid_);
}

void OnScreenKeyboard::OnOwner(bool isOwned) {
    ++owner_;
    Gone();
    if (isOwned) {
        Ask();
    }
}

void OnScreenKeyboard::Ask() {
    const unsigned asked = owner_;
    bus_.Call(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetConnectionUnixProcessID"},
        [this](sd_bus_message* call) { return SdBus().sd_bus_message_append(call, "s", visible_.name.c_str()); },
        [this, asked](sd_bus_message* reply) {
            uint32_t pid = 0;
            if (asked == owner_ && reply != nullptr && SdBus().sd_bus_message_read(reply, "u", &pid) > 0) {
                SetPid(static_cast<pid_t>(pid));
            }
        });
    bus_.Call(
        {visible_.name, visible_.path, kProperties, "Get"},
        [this](sd_bus_message* call) {
            return SdBus().sd_bus_message_append(call, "ss", visible_.interface.c_str(), visible_.member.c_str());
        },
        [this, asked](sd_bus_message* reply) {
            if (asked == owner_ && reply != nullptr && ReadBool(reply, isVisible_)) {
                Update();
            }
        });
}

// The value comes with the signal; one keyboard lists it as to be read again as well.
void OnScreenKeyboard::OnChange(sd_bus_message* signal) {
    const char* interface = nullptr;
    if (SdBus().sd_bus_message_read(signal, "s", &interface) > 0 && interface == visible_.interface &&
        ReadProperty(signal, visible_.member, isVisible_)) {
        Update();
    }
}

void OnScreenKeyboard::SetPid(pid_t pid) {
    pid_ = pid;
    FocusState::TheOne().AddKeyboard(pid);
    Update();
}

// A keyboard that ended while it was shown is hidden, and still known by its process while that is told.
void OnScreenKeyboard::Gone() {
    isVisible_ = false;
    Update();
    FocusState::TheOne().RemoveKeyboard(pid_);
    pid_ = 0;
}

void OnScreenKeyboard::Update() {
    const bool isShown = isVisible_ && pid_ > 0;
    if (isShown != isTold_) {
        isTold_ = isShown;
        tell_(pid_, isShown);
    }
}

}  // namespace aul
