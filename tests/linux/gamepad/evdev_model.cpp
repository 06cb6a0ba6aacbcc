#include "evdev_model.h"

#include <algorithm>

namespace {

constexpr int kStickFuzz = 16;
constexpr int kStickFlat = 128;

std::vector<ModelAxis> CommonAxes() {
    std::vector<ModelAxis> axes;
    for (const unsigned stick : {0U, 1U, 3U, 4U}) {
        axes.push_back({stick, -32768, 32767, kStickFuzz, kStickFlat});
    }
    axes.push_back({ABS_Z, 0, 255});
    axes.push_back({ABS_RZ, 0, 255});
    return axes;
}

}  // namespace

PadModel PadModel::With(std::vector<unsigned> more) const {
    PadModel model = *this;
    model.keys.insert(model.keys.end(), more.begin(), more.end());
    return model;
}

PadModel PadModel::Without(const std::vector<unsigned>& fewer) const {
    PadModel model = *this;
    const auto is_gone = [&fewer](unsigned key) { return std::find(fewer.begin(), fewer.end(), key) != fewer.end(); };
    model.keys.erase(std::remove_if(model.keys.begin(), model.keys.end(), is_gone), model.keys.end());
    return model;
}

PadModel StandardPad() {
    PadModel model;
    model.name = "Common Pad";
    model.vendor = 0x045e;
    model.product = 0x028e;
    model.phys = "usb-0000:00:14.0-2/input0";
    model.keys = {BTN_SOUTH,  BTN_EAST,  BTN_NORTH, BTN_WEST,   BTN_TL,    BTN_TR,
                  BTN_SELECT, BTN_START, BTN_MODE,  BTN_THUMBL, BTN_THUMBR};
    model.axes = CommonAxes();
    model.axes.push_back({ABS_HAT0X, -1, 1});
    model.axes.push_back({ABS_HAT0Y, -1, 1});
    return model;
}

PadModel PadWithDirectionKeys() {
    PadModel model = StandardPad().With({BTN_DPAD_UP, BTN_DPAD_DOWN, BTN_DPAD_LEFT, BTN_DPAD_RIGHT});
    model.axes = CommonAxes();
    return model;
}

PadModel NumberedPad() {
    PadModel model;
    model.name = "Generic Game Pad";
    model.vendor = 0x1234;
    model.product = 0xfeed;
    for (unsigned key = BTN_SOUTH; key <= BTN_START; ++key) {
        model.keys.push_back(key);
    }
    for (const unsigned axis : {0U, 1U, 2U, 5U}) {
        model.axes.push_back({axis, 0, 255, 0, 15, 127});
    }
    return model;
}

PadModel KnownOldPad() {
    PadModel model;
    model.name = "Logitech Logitech Dual Action";
    model.vendor = 0x046d;
    model.product = 0xc216;
    for (unsigned key = BTN_TRIGGER; key < BTN_TRIGGER + 12; ++key) {
        model.keys.push_back(key);
    }
    for (const unsigned axis : {0U, 1U, 2U, 5U}) {
        model.axes.push_back({axis, 0, 255, 0, 15, 127});
    }
    model.axes.push_back({ABS_HAT0X, -1, 1});
    model.axes.push_back({ABS_HAT0Y, -1, 1});
    return model;
}

Evdev Announce(const PadModel& model) {
    Evdev device(libevdev_new());
    libevdev_set_name(device.get(), model.name.c_str());
    libevdev_set_id_bustype(device.get(), model.bus);
    libevdev_set_id_vendor(device.get(), model.vendor);
    libevdev_set_id_product(device.get(), model.product);
    libevdev_set_id_version(device.get(), model.version);
    libevdev_set_phys(device.get(), model.phys.empty() ? nullptr : model.phys.c_str());
    libevdev_set_uniq(device.get(), model.uniq.empty() ? nullptr : model.uniq.c_str());
    for (const unsigned key : model.keys) {
        libevdev_enable_event_code(device.get(), EV_KEY, key, nullptr);
    }
    for (const ModelAxis& axis : model.axes) {
        const input_absinfo info{axis.value, axis.minimum, axis.maximum, axis.fuzz, axis.flat, 0};
        libevdev_enable_event_code(device.get(), EV_ABS, axis.code, &info);
    }
    for (const unsigned code : model.relative) {
        libevdev_enable_event_code(device.get(), EV_REL, code, nullptr);
    }
    for (const unsigned property : model.properties) {
        libevdev_enable_property(device.get(), property);
    }
    return device;
}
