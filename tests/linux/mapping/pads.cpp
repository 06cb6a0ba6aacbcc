#include "pads.h"

mapping::Capabilities Pad(std::initializer_list<unsigned> keys,
                          std::initializer_list<std::pair<unsigned, input_absinfo>> axes) {
    mapping::Capabilities pad;
    for (const unsigned key : keys) {
        pad.keys.set(key);
    }
    for (const auto& [axis, info] : axes) {
        pad.axes.at(axis) = info;
    }
    return pad;
}

mapping::Capabilities NumberedPad() {
    mapping::Capabilities pad = Pad({}, {{ABS_X, kStick},
                                         {ABS_Y, kByte},
                                         {ABS_Z, {0, 0, 1023, 0, 0, 0}},
                                         {ABS_RX, {0, -128, 127, 0, 0, 0}},
                                         {ABS_RY, {0, 0, 65535, 255, 4095, 0}},
                                         {ABS_RZ, {0, -2, 2, 0, 0, 0}},
                                         {ABS_HAT0X, kHat},
                                         {ABS_HAT0Y, kHat},
                                         {ABS_HAT1X, kHat},
                                         {ABS_HAT1Y, kHat}});
    for (unsigned button = 0; button < 12; ++button) {
        pad.keys.set(BTN_TRIGGER + button);
    }
    return pad;
}
