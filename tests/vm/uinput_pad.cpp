#include "uinput_pad.h"

#include <libevdev/libevdev.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <system_error>

const Axis& PadLayout::AxisOf(int code) const {
    const auto found = std::find_if(axes.begin(), axes.end(), [code](const Axis& axis) { return axis.code == code; });
    if (found == axes.end()) {
        throw std::out_of_range(name + " has no such axis");
    }
    return *found;
}

PadLayout CommonPad() {
    return {"Test pad",
            BUS_USB,
            0x045e,
            0x028e,
            0x0110,
            {BTN_SOUTH, BTN_EAST, BTN_NORTH, BTN_WEST, BTN_TL, BTN_TR, BTN_SELECT, BTN_START, BTN_MODE, BTN_THUMBL,
             BTN_THUMBR},
            {{ABS_X, -32768, 32767, 128},
             {ABS_Y, -32768, 32767, 128},
             {ABS_Z, 0, 255},
             {ABS_RX, -32768, 32767, 128},
             {ABS_RY, -32768, 32767, 128},
             {ABS_RZ, 0, 255},
             {ABS_HAT0X, -1, 1},
             {ABS_HAT0Y, -1, 1}}};
}

PadLayout PadWithDirectionButtons() {
    PadLayout layout = CommonPad();
    layout.name = "Test pad with direction buttons";
    layout.axes.resize(6);
    for (const int button : {BTN_DPAD_UP, BTN_DPAD_DOWN, BTN_DPAD_LEFT, BTN_DPAD_RIGHT}) {
        layout.buttons.push_back(button);
    }
    return layout;
}

PadLayout PadWithHomePageKey() {
    PadLayout layout = CommonPad();
    layout.name = "Test pad with a home page key";
    layout.buttons.push_back(KEY_HOMEPAGE);
    return layout;
}

PadLayout OldUsbPad() {
    PadLayout layout{"Logitech Logitech Dual Action", BUS_USB, 0x046d, 0xc216, 0x0110, {}, {}};
    for (int button = BTN_TRIGGER; button <= BTN_BASE6; ++button) {
        layout.buttons.push_back(button);
    }
    for (const int axis : {ABS_X, ABS_Y, ABS_Z, ABS_RZ}) {
        layout.axes.push_back({axis, 0, 255, 15});
    }
    layout.axes.push_back({ABS_HAT0X, -1, 1});
    layout.axes.push_back({ABS_HAT0Y, -1, 1});
    return layout;
}

UinputPad::UinputPad(PadLayout layout) : layout_(std::move(layout)) {
    const std::unique_ptr<libevdev, decltype(&libevdev_free)> description(libevdev_new(), libevdev_free);
    libevdev_set_name(description.get(), layout_.name.c_str());
    libevdev_set_id_bustype(description.get(), layout_.bus);
    libevdev_set_id_vendor(description.get(), layout_.vendor);
    libevdev_set_id_product(description.get(), layout_.product);
    libevdev_set_id_version(description.get(), layout_.version);
    for (const int button : layout_.buttons) {
        libevdev_enable_event_code(description.get(), EV_KEY, static_cast<unsigned>(button), nullptr);
    }
    for (const Axis& axis : layout_.axes) {
        const input_absinfo range{axis.Centre(), axis.minimum, axis.maximum, 0, axis.flat, 0};
        libevdev_enable_event_code(description.get(), EV_ABS, static_cast<unsigned>(axis.code), &range);
    }
    const int error = libevdev_uinput_create_from_device(description.get(), LIBEVDEV_UINPUT_OPEN_MANAGED, &device_);
    if (error != 0) {
        throw std::system_error(-error, std::generic_category(), "cannot create " + layout_.name);
    }
    node_ = libevdev_uinput_get_devnode(device_);
}

UinputPad::~UinputPad() {
    Unplug();
}

void UinputPad::Send(std::initializer_list<Change> changes) {
    std::vector<input_event> frame;
    for (const Change& change : changes) {
        input_event event{};
        event.type = static_cast<decltype(event.type)>(change.type);
        event.code = static_cast<decltype(event.code)>(change.code);
        event.value = change.value;
        frame.push_back(event);
    }
    frame.emplace_back();  // EV_SYN, SYN_REPORT
    [[maybe_unused]] const ssize_t written =
        write(libevdev_uinput_get_fd(device_), frame.data(), frame.size() * sizeof(input_event));
}

void UinputPad::Unplug() {
    libevdev_uinput_destroy(device_);
    device_ = nullptr;
}
