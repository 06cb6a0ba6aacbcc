#pragma once

#include <libevdev/libevdev-uinput.h>
#include <linux/input.h>

#include <initializer_list>
#include <string>
#include <vector>

struct Axis {
    int code;
    int minimum;
    int maximum;
    int flat = 0;

    int Centre() const { return (minimum + maximum) / 2; }
};

/// What a pad tells the kernel about itself.
struct PadLayout {
    std::string name;
    int bus;
    int vendor;
    int product;
    int version;
    std::vector<int> buttons;
    std::vector<Axis> axes;

    const Axis& AxisOf(int code) const;
};

/// The most common layout: buttons by place, sticks of 16 bits, triggers of 8 bits, a hat.
PadLayout CommonPad();
/// The same with its directional pad as four buttons in place of the hat.
PadLayout PadWithDirectionButtons();
/// The same with a key of the KEY_ range among its buttons.
PadLayout PadWithHomePageKey();
/// An old USB pad: buttons numbered from BTN_TRIGGER, the right stick on Z and RZ. Only a mapping tells which is which.
PadLayout OldUsbPad();

struct Change {
    int type;
    int code;
    int value;
};

/// A pad that exists from construction until Unplug(), made by the kernel's uinput.
///
/// Threads  one. Errors: std::system_error from the constructor, else none: a write to uinput does not fail.
class UinputPad {
public:
    explicit UinputPad(PadLayout layout);
    ~UinputPad();
    UinputPad(const UinputPad&) = delete;
    UinputPad& operator=(const UinputPad&) = delete;

    void Press(int button) { Send({{EV_KEY, button, 1}}); }
    void Release(int button) { Send({{EV_KEY, button, 0}}); }
    void Move(int axis, int value) { Send({{EV_ABS, axis, value}}); }
    /// All changes in one frame.
    void Send(std::initializer_list<Change> changes);
    void Unplug();

    const PadLayout& Layout() const { return layout_; }
    /// "/dev/input/eventN"
    const std::string& Node() const { return node_; }

private:
    PadLayout layout_;
    libevdev_uinput* device_ = nullptr;
    std::string node_;
};
