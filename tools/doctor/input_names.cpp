#include "input_names.h"

#include <linux/input.h>

#include <map>
#include <memory>
#include <tuple>

#include "gamepad/button_table.h"
#include "virtual_key/key_codes.h"
#include "virtual_key/key_map_file.h"

namespace doctor {
namespace {

/// By the kernel's key: what is printed on most pads, and the place where it says nothing.
const std::map<int, const char*>& ButtonNames() {
    static const std::map<int, const char*> names{{BTN_SOUTH, "A"},
                                                  {BTN_EAST, "B"},
                                                  {BTN_WEST, "X"},
                                                  {BTN_NORTH, "Y"},
                                                  {BTN_TL, "LB"},
                                                  {BTN_TR, "RB"},
                                                  {BTN_TL2, "LT"},
                                                  {BTN_TR2, "RT"},
                                                  {BTN_C, "C"},
                                                  {BTN_Z, "Z"},
                                                  {BTN_SELECT, "Select"},
                                                  {BTN_START, "Start"},
                                                  {BTN_THUMBL, "left stick button"},
                                                  {BTN_THUMBR, "right stick button"},
                                                  {BTN_MODE, "Home"},
                                                  {KEY_HOMEPAGE, "Home page"}};
    return names;
}

std::string ButtonName(int number) {
    for (const gamepad::ButtonNumber& button : gamepad::Buttons()) {
        if (button.number == number) {
            return ButtonNames().at(button.key);
        }
    }
    return "button " + std::to_string(number);
}

struct AxisWords {
    const char* part;
    const char* axis;
    const char* low;
    const char* high;
};

const std::map<int, AxisWords>& Axes() {
    static const std::map<int, AxisWords> axes{{ABS_X, {"left stick", " X", " left", " right"}},
                                               {ABS_Y, {"left stick", " Y", " up", " down"}},
                                               {ABS_RX, {"right stick", " X", " left", " right"}},
                                               {ABS_RY, {"right stick", " Y", " up", " down"}},
                                               {ABS_Z, {"left trigger", "", "", ""}},
                                               {ABS_RZ, {"right trigger", "", "", ""}},
                                               {ABS_HAT0X, {"directional pad", " X", " left", " right"}},
                                               {ABS_HAT0Y, {"directional pad", " Y", " up", " down"}}};
    return axes;
}

/// Follows the user's file from the first question to the end of the program.
const KeyMap& TheKeyMap() {
    static const auto& map = *new std::shared_ptr<KeyMap>(std::make_shared<KeyMap>());
    [[maybe_unused]] static const auto& file = *new KeyMapFile(KeyMapPath(), map);
    return *map;
}

}  // namespace

bool Input::operator<(const Input& other) const {
    return std::tie(type, code, value) < std::tie(other.type, other.code, other.value);
}

bool Input::operator==(const Input& other) const {
    return std::tie(type, code, value) == std::tie(other.type, other.code, other.value);
}

std::string AxisName(int axis) {
    const auto found = Axes().find(axis);
    return found == Axes().end() ? "axis " + std::to_string(axis)
                                 : std::string(found->second.part) + found->second.axis;
}

std::string NameOf(const Input& input) {
    if (input.type == EV_KEY) {
        return ButtonName(input.code);
    }
    const auto found = Axes().find(input.code);
    if (found == Axes().end() || input.value == 0) {
        return AxisName(input.code);
    }
    return found->second.part + std::string(input.value < 0 ? found->second.low : found->second.high);
}

std::string KeyText(int platform_code) {
    return KeyName(TheKeyMap().Sent(platform_code));
}

}  // namespace doctor
