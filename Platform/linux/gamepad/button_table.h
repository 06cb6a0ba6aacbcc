/// The platform's numbering of buttons and axes: the one place where kernel codes become the numbers that
/// gamepad_get_events delivers.
///
///     number  kernel code   where on the pad            number  kernel code    where on the pad
///          0  BTN_SOUTH     lower face button                8  BTN_C          third of a second row
///          1  BTN_EAST      right face button                9  BTN_Z          sixth of a second row
///          2  BTN_WEST      left face button                10  BTN_SELECT     select, back, share
///          3  BTN_NORTH     upper face button               11  BTN_START      start, options
///          4  BTN_TL        left shoulder                   12  BTN_THUMBL     left stick pressed
///          5  BTN_TR        right shoulder                  13  BTN_THUMBR     right stick pressed
///          6  BTN_TL2       left trigger                    14  BTN_MODE       home, guide
///          7  BTN_TR2       right trigger                  398  KEY_HOMEPAGE   home key among a pad's extra keys
///
/// The kernel's names BTN_X and BTN_Y stand for BTN_NORTH and BTN_WEST, whatever is printed on the pad. Axes keep their
/// kernel codes: ABS_X 0, ABS_Y 1, ABS_Z 2, ABS_RX 3, ABS_RY 4, ABS_RZ 5, ABS_HAT0X 16, ABS_HAT0Y 17. The directional
/// pad is always the hat axes, -1 (left, up), 0 or 1 (right, down), also where the pad has BTN_DPAD_* buttons.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace gamepad {

struct ButtonNumber {
    std::uint16_t key;  // BTN_* or KEY_*
    int number;
};
inline constexpr std::size_t kButtonCount = 16;

const std::array<ButtonNumber, kButtonCount>& Buttons();

/// nullopt: a key that is no pad button.
std::optional<int> ButtonOf(unsigned key);

/// One key of a directional pad: the hat axis that it moves, and the way (-1 or 1).
struct DirectionKey {
    std::uint16_t key;
    std::uint16_t hat;
    int way;
};
const std::array<DirectionKey, 4>& DirectionKeys();

}  // namespace gamepad
