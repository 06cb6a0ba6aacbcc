#include "device_power/mutter_power.h"

#include <utility>

namespace {

constexpr char kName[] = "org.gnome.Mutter.DisplayConfig";
constexpr char kPath[] = "/org/gnome/Mutter/DisplayConfig";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr char kProperty[] = "PowerSaveMode";
constexpr int kOn = 0;

}  // namespace

MutterPower::MutterPower(Bus& bus, std::function<void()> onChange) : bus_(bus), onChange_(std::move(onChange)) {
    bus_.WatchName(kName, [this](bool isOwned) { isOwned ? Ask() : SetOff(false); });
    bus_.Subscribe({kName, kPath, kProperties, "PropertiesChanged"}, [this](sd_bus_message*) { Ask(); });
}

void MutterPower::Ask() {
    bus_.Call(
        {kName, kPath, kProperties, "Get"},
        [](sd_bus_message* call) { return SdBus().sd_bus_message_append(call, "ss", kName, kProperty); },
        [this](sd_bus_message* reply) {
            int mode = kOn;
            SetOff(reply != nullptr && SdBus().sd_bus_message_read(reply, "v", "i", &mode) >= 0 && mode > kOn);
        });
}

void MutterPower::SetOff(bool isOff) {
    if (std::exchange(isOff_, isOff) != isOff) {
        onChange_();
    }
}

void MutterPower::SwitchOn() {
    if (isOff_) {
        bus_.CallWithoutReply({kName, kPath, kProperties, "Set"}, [](sd_bus_message* call) {
            return SdBus().sd_bus_message_append(call, "ssv", kName, kProperty, "i", kOn);
        });
    }
}
