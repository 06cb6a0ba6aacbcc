#include "device_power/standby.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "device_power/mutter_power.h"
#include "device_power/wayland_power.h"

namespace {

// logind keeps it while it runs; a bus at an address of its own is there to be asked.
bool HasLogind() {
    const char* bus = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return (bus != nullptr && *bus != '\0') || access("/run/systemd/seats", F_OK) == 0;
}

}  // namespace

Standby::Standby(GMainContext* context, std::function<void(bool)> onChange)
    : onChange_(std::move(onChange)), session_(context, Bus::Kind::kSession), sleep_(context, [this](bool isAsleep) {
          isAsleep_ = isAsleep;
          Update();
      }) {
    const auto update = [this] { Update(); };
    auto x11 = std::make_unique<X11Power>(context, update);
    x11_ = x11.get();
    displays_.push_back(std::move(x11));
    displays_.push_back(std::make_unique<WaylandPower>(context, update));
    displays_.push_back(std::make_unique<MutterPower>(session_, update));
}

bool Standby::IsOffered() {
    return X11Display::IsOffered() || WaylandDisplay::IsOffered() || HasLogind();
}

void Standby::Update() {
    const bool isStandby = isAsleep_ || std::any_of(displays_.begin(), displays_.end(),
                                                    [](const auto& display) { return display->IsOff(); });
    if (std::exchange(isStandby_, isStandby) != isStandby) {
        onChange_(isStandby);
    }
}

void Standby::SwitchOn() {
    for (const auto& display : displays_) {
        display->SwitchOn();
    }
}
