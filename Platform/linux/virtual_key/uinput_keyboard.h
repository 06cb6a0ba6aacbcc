/// The kernel device that the virtual keys come from.
#pragma once

#include <libevdev/libevdev-uinput.h>

#include <chrono>
#include <memory>
#include <string>

#include "virtual_key/event_writer.h"
#include "virtual_key/key_sink.h"

/// The device's name, by which our own search for pads passes it over.
constexpr char kVirtualKeyboardName[] = "quorvex virtual remote";

/// A uinput keyboard. No key stays down when it goes, however it goes:
///  - Destroyed with this object, it lives on until kSettle after its last event. A reader that is busy just then would
///    otherwise find the node gone (ENODEV) and with it the releases that it has not read yet.
///  - When the process is killed the kernel closes the descriptor, releases every key that is down and then removes the
///    device. Who waits for events reads those releases; who does not finds the node gone, as with a keyboard that was
///    unplugged, and has to forget its keys anyway.
class UinputKeyboard final : public KeySink {
public:
    static constexpr std::chrono::milliseconds kSettle{100};

    /// path: the uinput node. Null, and a negative errno in *error, when there can be no device; the reason has been
    /// logged then, in one line.
    static std::unique_ptr<UinputKeyboard> Open(const char* path, int* error);
    ~UinputKeyboard() override;

    int Send(int platformCode, int action) override;

    /// For instance "/dev/input/event5".
    const char* Node() const;

private:
    UinputKeyboard(int fd, libevdev_uinput* device);

    const int fd_;
    libevdev_uinput* const device_;
    EventWriter writer_;
    std::chrono::steady_clock::time_point lastEvent_{};
};

/// What is wrong, and what to do about it, when the node at path cannot be opened with this errno.
std::string WhyUinputCannotBeOpened(const char* path, int error);
