#include "device_power/wayland_power.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char kOutput[] = "wl_output";
constexpr char kManager[] = "zwlr_output_power_manager_v1";
constexpr uint16_t kGetOutputPower = 0;
constexpr uint16_t kSetMode = 0;
constexpr uint16_t kDestroy = 1;
constexpr uint16_t kModeEvent = 0;
constexpr uint32_t kOn = 1;

}  // namespace

WaylandPower::WaylandPower(GMainContext* context, std::function<void()> onChange)
    : onChange_(std::move(onChange)),
      display_(context, "standby",
               {[this](uint32_t name, const std::string& interface, uint32_t) { OnGlobal(name, interface); },
                [this](uint32_t name) { OnGlobalGone(name); }, [this] { OnUp(); }, [this] { OnDown(); }}) {
    display_.Start();
}

bool WaylandPower::IsOff() const {
    return !outputs_.empty() &&
           std::all_of(outputs_.begin(), outputs_.end(), [](const auto& output) { return output.second.isOff; });
}

void WaylandPower::OnGlobal(uint32_t name, const std::string& interface) {
    if (interface == kManager) {
        manager_ = display_.Bind(name, kManager, 1);
    } else if (interface == kOutput) {
        Output& output = outputs_[name];
        if (display_.IsUp()) {
            Control(name, output);
            onChange_();
        }
    }
}

void WaylandPower::OnGlobalGone(uint32_t name) {
    const auto output = outputs_.find(name);
    if (output == outputs_.end()) {
        return;
    }
    if (output->second.control != 0) {
        display_.Send(WaylandRequest(output->second.control, kDestroy));
        display_.Forget(output->second.control);
    }
    outputs_.erase(output);
    onChange_();
}

// The manager may be told after the outputs.
void WaylandPower::OnUp() {
    for (auto& output : outputs_) {
        Control(output.first, output.second);
    }
}

void WaylandPower::OnDown() {
    manager_ = 0;
    outputs_.clear();
    onChange_();
}

void WaylandPower::Control(uint32_t name, Output& output) {
    if (manager_ == 0) {
        return;
    }
    const uint32_t object = display_.Bind(name, kOutput, 1);
    output.control = display_.NewObject(
        [this, name](uint16_t opcode, WaylandArguments& arguments) { OnControlEvent(name, opcode, arguments); });
    display_.Send(WaylandRequest(manager_, kGetOutputPower).Add(output.control).Add(object));
}

// The only other event is that the output cannot be controlled: it counts as on.
void WaylandPower::OnControlEvent(uint32_t name, uint16_t opcode, WaylandArguments& arguments) {
    Output& output = outputs_[name];
    if (opcode == kModeEvent) {
        output.isOff = arguments.Word() != kOn;
    } else {
        display_.Send(WaylandRequest(output.control, kDestroy));
        display_.Forget(output.control);
        output = Output();
    }
    onChange_();
}

void WaylandPower::SwitchOn() {
    for (const auto& output : outputs_) {
        if (output.second.control != 0 && output.second.isOff) {
            display_.Send(WaylandRequest(output.second.control, kSetMode).Add(kOn));
        }
    }
}
