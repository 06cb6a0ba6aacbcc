#include "screensaver/bus_saver.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr char kMethod[] = "SimulateUserActivity";

std::string PathOf(const std::string& name) {
    std::string path = "/" + name;
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

}  // namespace

BusSaver::BusSaver(Bus& bus, const std::string& name, Observer observer)
    : bus_(bus), name_(name), path_(PathOf(name)), observer_(std::move(observer)) {
    bus_.WatchName(name_, [this](bool isOwned) { OnOwner(isOwned); });
    // Some emit it on several paths, so that a change is told up to three times.
    bus_.Subscribe({name_, "", name_, "ActiveChanged"}, [this](sd_bus_message* signal) { OnActive(signal); });
}

void BusSaver::OnOwner(bool isOwned) {
    lacksMethod_ = false;
    if (!isOwned) {
        isOn_ = false;
        observer_.onChange();
        return;
    }
    bus_.Call(Member("GetActive"), {}, [this](sd_bus_message* reply) { OnActive(reply); });
    bus_.Call({name_, path_, "org.freedesktop.DBus.Introspectable", "Introspect"}, {},
              [this](sd_bus_message* reply) { OnDescription(reply); });
    observer_.onChange();
    observer_.onFound(*this);
}

// A name is no proof of the method: some own it only so that others can keep the screen on. One that does not describe
// itself may have it.
void BusSaver::OnDescription(sd_bus_message* reply) {
    const char* text = nullptr;
    if (reply != nullptr && SdBus().sd_bus_message_read(reply, "s", &text) >= 0) {
        lacksMethod_ = std::strstr(text, name_.c_str()) != nullptr && std::strstr(text, kMethod) == nullptr;
        observer_.onChange();
    }
}

void BusSaver::OnActive(sd_bus_message* message) {
    int isOn = 0;
    if (message != nullptr && SdBus().sd_bus_message_read(message, "b", &isOn) >= 0) {
        isOn_ = isOn != 0;
        observer_.onChange();
    }
}

// Without a reply, since not everyone sends one.
void BusSaver::Reset() {
    if (CanBeReset()) {
        bus_.CallWithoutReply(Member(kMethod));
    }
}
