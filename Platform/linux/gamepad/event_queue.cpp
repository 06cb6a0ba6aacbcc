#include "gamepad/event_queue.h"

#include <linux/input-event-codes.h>

#include <algorithm>

namespace gamepad {
namespace {

bool SameControl(const _gamepad_event_s& one, const _gamepad_event_s& other) {
    return one.type == other.type && one.code == other.code;
}

}  // namespace

void EventQueue::PushStep(const _gamepad_event_s& event) {
    MakeWayForStep();
    Append({event, Kind::Step, Zone::Middle, false});
}

void EventQueue::PushPosition(const _gamepad_event_s& event, Zone zone, AxisRole role) {
    const int start = SegmentStart();
    const bool is_first = zone != Zone::Middle && !SawFirst(event.code, zone, start);
    const int previous = LastOf(event.code, start);
    if (previous >= 0) {
        Supersede(previous, is_first);
    }
    const Kind kind = is_first ? Kind::First : Kind::Last;
    Append({event, kind, zone, is_first && role == AxisRole::Other});
}

int EventQueue::Take(_gamepad_event_s* events, int capacity) {
    const int count = std::min(capacity, size_);
    for (int i = 0; i < count; ++i) {
        events[i] = At(i).event;
    }
    std::move(entries_.begin() + count, entries_.begin() + size_, entries_.begin());
    size_ -= count;
    return count;
}

/// The positions behind the last step are the ones that may still be merged with what comes.
int EventQueue::SegmentStart() const {
    int start = size_;
    while (start > 0 && At(start - 1).kind != Kind::Step) {
        --start;
    }
    return start;
}

int EventQueue::LastOf(int axis, int from) const {
    for (int i = size_ - 1; i >= from; --i) {
        if (At(i).event.code == axis) {
            return i;
        }
    }
    return -1;
}

bool EventQueue::SawFirst(int axis, Zone zone, int from) const {
    for (int i = from; i < size_; ++i) {
        if (At(i).event.code == axis && At(i).kind == Kind::First && At(i).zone == zone) {
            return true;
        }
    }
    return false;
}

/// A stick that goes from one side to the other lets go of the first on its way through the middle; without that
/// position the reader would take the second push for a part of the first.
void EventQueue::Supersede(int index, bool is_first) {
    Entry& entry = At(index);
    if (entry.kind != Kind::Last) {
        return;
    }
    if (is_first && entry.zone == Zone::Middle) {
        entry.kind = Kind::Return;
        entry.dispensable = true;
    } else {
        Erase(index);
    }
}

/// Two sticks and two triggers leave at most 14 positions that must stay, so a step fits the batch behind them.
void EventQueue::MakeWayForStep() {
    const int start = SegmentStart();
    int index = start;
    while (size_ - start >= kBatch && index < size_) {
        if (At(index).dispensable && NextLike(index) >= 0) {
            Erase(index);
        } else {
            ++index;
        }
    }
}

void EventQueue::Append(const Entry& entry) {
    MakeRoom();
    At(size_++) = entry;
}

void EventQueue::MakeRoom() {
    while (size_ >= kMostMerged && DropSupersededPosition()) {
    }
    if (size_ == kCapacity) {
        DropOvertakenStep();
    }
}

int EventQueue::NextLike(int index) const {
    for (int i = index + 1; i < size_; ++i) {
        if (SameControl(At(i).event, At(index).event)) {
            return i;
        }
    }
    return -1;
}

bool EventQueue::DropSupersededPosition() {
    for (int i = 0; i < size_; ++i) {
        if (At(i).kind != Kind::Step && NextLike(i) >= 0) {
            Erase(i);
            return true;
        }
    }
    return false;
}

/// Presses and releases of one button alternate, so a button's entry goes together with the next one: what remains
/// still alternates and ends in the same state. A pad has fewer buttons and axes than there are places, so one is
/// found.
void EventQueue::DropOvertakenStep() {
    for (int i = 0; i < size_; ++i) {
        const int next = NextLike(i);
        if (next < 0) {
            continue;
        }
        if (At(i).event.type == EV_KEY) {
            Erase(next);
        }
        Erase(i);
        return;
    }
    Erase(0);
}

void EventQueue::Erase(int index) {
    std::move(entries_.begin() + index + 1, entries_.begin() + size_, entries_.begin() + index);
    --size_;
}

}  // namespace gamepad
