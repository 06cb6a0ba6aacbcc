/// What the kernel has to tell of one open pad.
#pragma once

#include <libevdev/libevdev.h>

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>

namespace gamepad {

/// Reads a node many events at a time, and only once where that is enough. When the kernel's queue has overrun, what is
/// left in it is not told; the device is asked for its state instead, and what differs from what was told comes as
/// ordinary events, with the overrun's time.
///
/// Threads  one at a time. Never waits, never allocates.
class EventReader {
public:
    using Accept = std::function<void(const input_event&)>;

    /// The node is open without waiting, and outlives this. What the device holds by now makes no event.
    EventReader(int fd, const libevdev* device);

    /// Tells all events of keys and axes that are there. 0, or the errno that ended it: ENODEV when it is unplugged.
    int Drain(const Accept& accept);

private:
    int Read(std::size_t& count, const Accept& accept);
    void Take(const input_event& event, const Accept& accept);
    void Tell(unsigned type, unsigned code, int value, const Accept& accept);
    int TellState(const Accept& accept);
    int TellKeys(const Accept& accept);
    int TellAxes(const Accept& accept);

    const int fd_;
    std::bitset<KEY_CNT> keys_;  // as told
    std::array<std::int32_t, ABS_CNT> positions_{};
    std::bitset<ABS_CNT> axes_;  // those that there are
    bool hasOverrun_ = false;
    input_event overrun_{};  // the last one
};

}  // namespace gamepad
