#include "watch/pad_state.h"

#include <linux/input.h>

#include <algorithm>
#include <cmath>

namespace doctor {

void PadState::Apply(const Input& input) {
    if (input.type == EV_ABS) {
        positions_[input.code] = input.value;
    } else if (input.value == 0) {
        pressed_.erase(input.code);
    } else {
        pressed_.insert(input.code);
    }
}

int PadState::Position(int axis) const {
    const auto found = positions_.find(axis);
    return found == positions_.end() ? 0 : found->second;
}

int StepsFromMiddle(int position, int minimum, int maximum, int steps) {
    const double half = (static_cast<double>(maximum) - minimum) / 2;
    const double part = half > 0 ? (position - minimum - half) / half : 0;
    return static_cast<int>(std::lround(std::clamp(part, -1.0, 1.0) * steps));
}

}  // namespace doctor
