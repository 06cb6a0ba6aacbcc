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

/// A uinput keyboard. It is destroyed with this object, not sooner than kSettle after its last event: whoever reads the
/// device gets nothing but ENODEV once it has gone, and would miss a release that it has not read by then.
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
