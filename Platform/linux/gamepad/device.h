/// One pad that is open for reading.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "gamepad/axis.h"
#include "gamepad/evdev.h"
#include "gamepad/event_queue.h"
#include "gamepad/event_reader.h"
#include "gamepad/layout.h"
#include "gamepad/pad.h"
#include "locks/locks.h"
#include "platform/gamepad.h"

namespace gamepad {

/// Threads  any; one leaf lock.
class Device {
public:
    struct Limits {
        int maximum;
        int minimum;
    };

    Device(Evdev evdev, PadPointer pad, ChosenLayout layout);

    /// Takes everything that the kernel has for this pad and moves the oldest events out; how many. Never waits. Sets
    /// the pad's gone flag when it turns out to be unplugged.
    int TakeEvents(_gamepad_event_s* events, int capacity);

    bool IsStandard() const { return standard_; }

    /// The range of the positions that TakeEvents delivers; nullopt: it never delivers this axis.
    std::optional<Limits> LimitsOf(int axis) const;

    const Pad& OfPad() const { return *pad_; }

private:
    void Drain() REQUIRES(lock_);
    void TellLost(int error) const;
    void Accept(const input_event& event) REQUIRES(lock_);
    void Deliver(const mapping::Output& output, std::uint64_t time) REQUIRES(lock_);
    void DeliverPosition(const mapping::Output& output, _gamepad_event_s event) REQUIRES(lock_);

    mutable Lock lock_;
    const Evdev evdev_;
    EventReader reader_ GUARDED_BY(lock_);
    const PadPointer pad_;
    const std::unique_ptr<Layout> layout_;
    const bool standard_;
    std::vector<Axis> axes_ GUARDED_BY(lock_);
    EventQueue queue_ GUARDED_BY(lock_);
};

}  // namespace gamepad
