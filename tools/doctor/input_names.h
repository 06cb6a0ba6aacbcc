/// What people call the inputs of a pad and the keys that come of them.
#pragma once

#include <string>

namespace doctor {

/// An input in one position, as the gamepad library delivers it: of a stick only the sign of the value counts.
struct Input {
    int type;  ///< EV_KEY, EV_ABS
    int code;
    int value;
    bool operator<(const Input& other) const;
    bool operator==(const Input& other) const;
};

std::string NameOf(const Input& input);  ///< "A", "left stick up"
std::string AxisName(int axis);          ///< "left stick X"
std::string KeyText(int platform_code);  ///< "KEY_ENTER": the one that the user's key map puts in its place

}  // namespace doctor
