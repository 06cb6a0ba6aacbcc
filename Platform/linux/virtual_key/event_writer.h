/// Keys as the kernel's input events.
#pragma once

#include "virtual_key/key_sink.h"

/// Writes struct input_event to a descriptor that it does not own: each press and each release with its own SYN_REPORT,
/// all events of one action in one write.
class EventWriter final : public KeySink {
public:
    explicit EventWriter(int fd) : fd_(fd) {}

    int Send(int platformCode, int action) override;

private:
    const int fd_;
};
