/// The picture of a pad: an outline, and its parts, which light up.
#pragma once

#include <string>
#include <vector>

#include "watch/pad_state.h"

namespace doctor {

struct Part {
    int row;
    int column;
    std::string text;
    bool is_lit;
};

inline constexpr int kPictureRows = 12;
inline constexpr int kPictureColumns = 65;

/// kPictureRows lines of kPictureColumns ASCII characters.
const std::vector<std::string>& Outline();

/// Of a pad in this state; left and right are where the sticks stand, in steps from the middle (three aside, one up).
struct Stick {
    int x = 0;
    int y = 0;
};
std::vector<Part> PartsOf(const PadState& pad, const Stick& left, const Stick& right);

}  // namespace doctor
