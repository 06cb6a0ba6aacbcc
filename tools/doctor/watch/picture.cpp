#include "watch/picture.h"

#include <linux/input.h>

namespace doctor {
namespace {

struct ButtonPlace {
    int row;
    int column;
    const char* text;
    int number;
};

/// The numbers are those of the gamepad library.
constexpr ButtonPlace kButtons[] = {
    {0, 10, "[  LT  ]", 6},  {0, 47, "[  RT  ]", 7},    {1, 10, "[  LB  ]", 4},   {1, 47, "[  RB  ]", 5},
    {3, 28, "( Home )", 14}, {4, 21, "[ Select ]", 10}, {4, 34, "[ Start ]", 11}, {3, 50, "(Y)", 3},
    {4, 46, "(X)", 2},       {4, 54, "(B)", 1},         {5, 50, "(A)", 0},
};

/// Of which most pads have none: they show when they are pressed.
constexpr ButtonPlace kRareButtons[] = {{5, 28, "[ Page ]", 398}, {6, 50, "(C)", 8}, {6, 54, "(Z)", 9}};

struct HatPlace {
    int row;
    int column;
    const char* text;
    int axis;
    int way;
};
constexpr HatPlace kHats[] = {{3, 12, " ^ ", ABS_HAT0Y, -1},
                              {4, 9, "<--", ABS_HAT0X, -1},
                              {4, 15, "-->", ABS_HAT0X, 1},
                              {5, 12, " v ", ABS_HAT0Y, 1}};

constexpr int kStickRow = 8;
constexpr int kLeftStick = 22;  // columns of the middles
constexpr int kRightStick = 42;
constexpr int kLeftPressed = 12;
constexpr int kRightPressed = 13;

void AddStick(const Stick& stick, int column, bool is_pressed, std::vector<Part>& parts) {
    const bool is_moved = stick.x != 0 || stick.y != 0;
    const std::string blank = is_pressed ? "       " : "";
    for (int row = kStickRow - 1; row <= kStickRow + 1 && is_pressed; ++row) {
        parts.push_back({row, column - 3, blank, true});
    }
    parts.push_back(
        {kStickRow + stick.y, column + stick.x, is_moved || is_pressed ? "O" : "o", is_moved || is_pressed});
}

/// A trigger is a button or an axis, which rests at its lower end.
bool IsPulled(const PadState& pad, int number) {
    constexpr int kLeftTrigger = 6;
    constexpr int kRightTrigger = 7;
    return (number == kLeftTrigger && pad.Position(ABS_Z) > 0) || (number == kRightTrigger && pad.Position(ABS_RZ) > 0);
}

}  // namespace

const std::vector<std::string>& Outline() {
    static const std::vector<std::string> lines{R"(         .        .                           .        .         )",
                                                R"(      .--'        '---------------------------'        '--.      )",
                                                R"(     /                                                     \     )",
                                                R"(    |                                                       |    )",
                                                R"(   |                                                         |   )",
                                                R"(   |                                                         |   )",
                                                R"(  |               .-------.           .-------.               |  )",
                                                R"(  |               |       |           |       |               |  )",
                                                R"( |                |       |           |       |                | )",
                                                R"( |         .      |       |           |       |      .         | )",
                                                R"(  \       / '.    '-------'           '-------'    .' \       /  )",
                                                R"(   '------'   '-----------------------------------'   '------'   )"};
    return lines;
}

std::vector<Part> PartsOf(const PadState& pad, const Stick& left, const Stick& right) {
    std::vector<Part> parts;
    for (const ButtonPlace& button : kRareButtons) {
        if (pad.IsPressed(button.number)) {
            parts.push_back({button.row, button.column, button.text, true});
        }
    }
    for (const ButtonPlace& button : kButtons) {
        parts.push_back(
            {button.row, button.column, button.text, pad.IsPressed(button.number) || IsPulled(pad, button.number)});
    }
    for (const HatPlace& hat : kHats) {
        parts.push_back({hat.row, hat.column, hat.text, pad.Position(hat.axis) == hat.way});
    }
    AddStick(left, kLeftStick, pad.IsPressed(kLeftPressed), parts);
    AddStick(right, kRightStick, pad.IsPressed(kRightPressed), parts);
    return parts;
}

}  // namespace doctor
