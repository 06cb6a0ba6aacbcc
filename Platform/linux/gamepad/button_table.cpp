#include "gamepad/button_table.h"

#include <linux/input-event-codes.h>

#include <algorithm>

namespace gamepad {

const std::array<ButtonNumber, kButtonCount>& Buttons() {
    static constexpr std::array<ButtonNumber, kButtonCount> kButtons{{
        {BTN_SOUTH, 0},
        {BTN_EAST, 1},
        {BTN_WEST, 2},
        {BTN_NORTH, 3},
        {BTN_TL, 4},
        {BTN_TR, 5},
        {BTN_TL2, 6},
        {BTN_TR2, 7},
        {BTN_C, 8},
        {BTN_Z, 9},
        {BTN_SELECT, 10},
        {BTN_START, 11},
        {BTN_THUMBL, 12},
        {BTN_THUMBR, 13},
        {BTN_MODE, 14},
        {KEY_HOMEPAGE, 398},
    }};
    return kButtons;
}

std::optional<int> ButtonOf(unsigned key) {
    const auto& buttons = Buttons();
    const auto found =
        std::find_if(buttons.begin(), buttons.end(), [key](const ButtonNumber& button) { return button.key == key; });
    return found == buttons.end() ? std::nullopt : std::optional<int>(found->number);
}

const std::array<DirectionKey, 4>& DirectionKeys() {
    static constexpr std::array<DirectionKey, 4> kKeys{{
        {BTN_DPAD_LEFT, ABS_HAT0X, -1},
        {BTN_DPAD_RIGHT, ABS_HAT0X, 1},
        {BTN_DPAD_UP, ABS_HAT0Y, -1},
        {BTN_DPAD_DOWN, ABS_HAT0Y, 1},
    }};
    return kKeys;
}

}  // namespace gamepad
