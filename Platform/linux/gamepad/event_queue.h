/// The events of one pad that nobody took yet: bounded, and merged so that what matters is never late or lost.
///
/// Steps (buttons, the directional pad) are kept one by one. Between two steps the positions of an axis are merged: its
/// first position beyond half of the range in each direction and its last position stay, in order, so that a flick of
/// the stick is still seen; the position before a flick stays as long as there is room. A reader that takes few
/// events now and then still meets a button soon after it was pressed, however much the sticks move.
///
/// Only when steps come faster than they are taken are older ones merged: positions across steps first, then a press
/// and a release of one button; the last state of every button and axis always arrives.
///
/// Threads  one at a time. Never allocates.
#pragma once

#include <array>
#include <cstdint>

#include "gamepad/axis.h"
#include "platform/gamepad.h"

namespace gamepad {

enum class AxisRole : std::uint8_t { Stick, Other };

class EventQueue {
public:
    static constexpr int kCapacity = 256;   // 0.8 s of steps for a reader that takes 16 each 50 ms
    static constexpr int kMostMerged = 64;  // beyond this, positions are merged across steps too
    static constexpr int kBatch = 16;       // what one pass of the service takes

    void PushStep(const _gamepad_event_s& event);
    void PushPosition(const _gamepad_event_s& event, Zone zone, AxisRole role);

    /// Moves up to capacity events out, oldest first; how many.
    int Take(_gamepad_event_s* events, int capacity);

    int Size() const { return size_; }

private:
    enum class Kind : std::uint8_t { Step, First, Return, Last };
    struct Entry {
        _gamepad_event_s event;
        Kind kind;
        Zone zone;
        bool dispensable;  // may go when it would keep a step from the next batch
    };

    int SegmentStart() const;
    int LastOf(int axis, int from) const;
    bool SawFirst(int axis, Zone zone, int from) const;
    int NextLike(int index) const;
    void Supersede(int index, bool is_first);
    void MakeWayForStep();
    void MakeRoom();
    bool DropSupersededPosition();
    void DropOvertakenStep();
    void Append(const Entry& entry);
    void Erase(int index);
    Entry& At(int index) { return entries_[static_cast<std::size_t>(index)]; }
    const Entry& At(int index) const { return entries_[static_cast<std::size_t>(index)]; }

    std::array<Entry, kCapacity> entries_{};
    int size_ = 0;
};

}  // namespace gamepad
