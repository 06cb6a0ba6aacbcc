/// An input device without a kernel behind it: a FIFO that answers the ioctl requests of an event device. Every library
/// of this program that opens its path (libevdev, SDL) takes it for a real one.
#pragma once

#include <linux/input.h>

#include <string>

#include "gamepad/mapping/capabilities.h"

class FakeEvdev {
public:
    FakeEvdev(mapping::DeviceId id, mapping::Capabilities capabilities);
    ~FakeEvdev();
    FakeEvdev(const FakeEvdev&) = delete;
    FakeEvdev& operator=(const FakeEvdev&) = delete;

    const std::string& Path() const { return path_; }
    int Descriptor() const { return descriptor_; }

    /// The event and its SYN_REPORT, ready to be read.
    void Send(int type, int code, int value);

    const mapping::DeviceId& Id() const { return id_; }
    const mapping::Capabilities& Can() const { return capabilities_; }

    /// As ioctl(2), without errno.
    int Answer(unsigned long request, void* argument) const;

private:
    std::string directory_;
    std::string path_;
    int descriptor_;
    const mapping::DeviceId id_;
    const mapping::Capabilities capabilities_;
};
