#include "gamepad/event_reader.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>

namespace gamepad {
namespace {

// As many as the kernel keeps for a pad with two sticks.
constexpr std::size_t kBatch = 128;
// A reader must not be kept for ever by a device that sends faster than it is read; the rest waits for the next call.
constexpr int kMostReads = 64;

constexpr unsigned kWordBits = sizeof(unsigned long) * CHAR_BIT;

}  // namespace

EventReader::EventReader(int fd, const libevdev* device) : fd_(fd) {
    for (unsigned key = 0; key < KEY_CNT; ++key) {
        keys_[key] = libevdev_get_event_value(device, EV_KEY, key) != 0;
    }
    for (unsigned axis = 0; axis < ABS_MT_SLOT; ++axis) {
        axes_[axis] = libevdev_has_event_code(device, EV_ABS, axis) == 1;
        positions_[axis] = libevdev_get_event_value(device, EV_ABS, axis);
    }
}

int EventReader::Drain(const Accept& accept) {
    std::size_t count = kBatch;
    int error = 0;
    for (int reads = 0; reads < kMostReads && count == kBatch && error == 0; ++reads) {
        error = Read(count, accept);
    }
    return error == 0 && hasOverrun_ && count < kBatch ? TellState(accept) : error;
}

int EventReader::Read(std::size_t& count, const Accept& accept) {
    std::array<input_event, kBatch> events;
    const ssize_t length = read(fd_, events.data(), sizeof events);
    if (length < 0 && errno != EAGAIN && errno != EINTR) {
        return errno;
    }
    count = length < 0 ? 0 : static_cast<std::size_t>(length) / sizeof(input_event);
    for (std::size_t i = 0; i < count; ++i) {
        Take(events[i], accept);
    }
    return length > 0 && static_cast<std::size_t>(length) % sizeof(input_event) != 0 ? EINVAL : 0;
}

void EventReader::Take(const input_event& event, const Accept& accept) {
    if (hasOverrun_) {
        return;
    }
    if (event.type == EV_ABS && event.code < ABS_CNT) {
        positions_[event.code] = event.value;
        accept(event);
    } else if (event.type == EV_KEY && event.code < KEY_CNT) {
        keys_[event.code] = event.value != 0;
        accept(event);
    } else if (event.type == EV_SYN && event.code == SYN_DROPPED) {
        hasOverrun_ = true;
        overrun_ = event;
    }
}

/// The kernel forgets the keys' events that are still in its queue when it is asked for their state. A position may
/// come once more, from the queue, and then the newest one as well.
int EventReader::TellState(const Accept& accept) {
    hasOverrun_ = false;
    const int error = TellKeys(accept);
    return error == 0 ? TellAxes(accept) : error;
}

int EventReader::TellKeys(const Accept& accept) {
    std::array<unsigned long, KEY_CNT / kWordBits> words{};
    if (ioctl(fd_, EVIOCGKEY(sizeof words), words.data()) < 0) {
        return errno;
    }
    for (unsigned key = 0; key < KEY_CNT; ++key) {
        const bool isDown = (words[key / kWordBits] >> key % kWordBits & 1U) != 0;
        if (isDown != keys_[key]) {
            Tell(EV_KEY, key, isDown ? 1 : 0, accept);
        }
    }
    return 0;
}

int EventReader::TellAxes(const Accept& accept) {
    for (unsigned axis = 0; axis < ABS_MT_SLOT; ++axis) {
        input_absinfo info{};
        if (axes_[axis] && ioctl(fd_, EVIOCGABS(axis), &info) < 0) {
            return errno;
        }
        if (axes_[axis] && info.value != positions_[axis]) {
            Tell(EV_ABS, axis, info.value, accept);
        }
    }
    return 0;
}

void EventReader::Tell(unsigned type, unsigned code, int value, const Accept& accept) {
    input_event event = overrun_;
    event.type = static_cast<decltype(event.type)>(type);
    event.code = static_cast<decltype(event.code)>(code);
    event.value = value;
    Take(event, accept);
}

}  // namespace gamepad
