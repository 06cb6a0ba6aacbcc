#include "gamepad/device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/dlog.h"

namespace gamepad {
namespace {

std::uint64_t Microseconds(const input_event& event) {
    return static_cast<std::uint64_t>(event.input_event_sec) * 1000000U +
           static_cast<std::uint64_t>(event.input_event_usec);
}

bool IsStickAxis(int axis) {
    return axis == ABS_X || axis == ABS_Y || axis == ABS_RX || axis == ABS_RY;
}

}  // namespace

Device::Device(Evdev evdev, PadPointer pad, ChosenLayout layout)
    : evdev_(std::move(evdev)),
      reader_(evdev_.fd.Get(), evdev_.device.get()),
      pad_(std::move(pad)),
      layout_(std::move(layout.layout)),
      standard_(layout.standard) {
    for (const AxisSpec& spec : layout_->Axes()) {
        axes_.emplace_back(spec);
    }
}

int Device::TakeEvents(_gamepad_event_s* events, int capacity) {
    const Hold hold(lock_);
    if (!pad_->gone) {
        Drain();
    }
    return queue_.Take(events, capacity);
}

void Device::Drain() {
    const int error = reader_.Drain([this](const input_event& event) REQUIRES(lock_) { Accept(event); });
    if (error != 0) {
        pad_->gone = true;
        TellLost(error);
    }
}

/// One that is unplugged says so by ENODEV, which is no trouble.
void Device::TellLost(int error) const {
    if (error != ENODEV) {
        __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QVXD", "pad \"%s\" is lost until it is plugged in again: %s",
                     libevdev_get_name(evdev_.device.get()), std::strerror(error));
    }
}

void Device::Accept(const input_event& event) {
    for (const mapping::Output& output : layout_->Translate(event.type, event.code, event.value)) {
        Deliver(output, Microseconds(event));
    }
}

void Device::Deliver(const mapping::Output& output, std::uint64_t time) {
    const _gamepad_event_s event{time, output.type, output.code, output.value};
    const bool is_step = output.type == EV_KEY || output.code == ABS_HAT0X || output.code == ABS_HAT0Y;
    if (is_step) {
        queue_.PushStep(event);
    } else {
        DeliverPosition(output, event);
    }
}

void Device::DeliverPosition(const mapping::Output& output, _gamepad_event_s event) {
    const auto axis = std::find_if(axes_.begin(), axes_.end(),
                                   [&output](const Axis& candidate) { return candidate.Spec().code == output.code; });
    if (axis == axes_.end()) {
        return;
    }
    if (const auto position = axis->Settle(output.value)) {
        event.value = *position;
        queue_.PushPosition(event, axis->ZoneOf(*position),
                            IsStickAxis(output.code) ? AxisRole::Stick : AxisRole::Other);
    }
}

std::optional<Device::Limits> Device::LimitsOf(int axis) const {
    if (axis == ABS_HAT0X || axis == ABS_HAT0Y) {
        return layout_->HasHat(static_cast<unsigned>(axis)) ? std::optional<Limits>({1, -1}) : std::nullopt;
    }
    const Hold hold(lock_);
    const auto found = std::find_if(axes_.begin(), axes_.end(),
                                    [axis](const Axis& candidate) { return candidate.Spec().code == axis; });
    return found == axes_.end() ? std::nullopt : std::optional<Limits>({found->Spec().maximum, found->Spec().minimum});
}

}  // namespace gamepad
