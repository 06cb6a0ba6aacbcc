/// What is pressed on one pad, and where its sticks are, by the events that have come.
#pragma once

#include <map>
#include <set>

#include "input_names.h"

namespace doctor {

class PadState {
public:
    void Apply(const Input& input);
    bool IsPressed(int button) const { return pressed_.count(button) != 0; }
    bool HasPosition(int axis) const { return positions_.count(axis) != 0; }
    int Position(int axis) const;  ///< 0 while none has come

private:
    std::set<int> pressed_;
    std::map<int, int> positions_;
};

/// -steps to steps, by the part of the way that the position is from the middle of the range.
int StepsFromMiddle(int position, int minimum, int maximum, int steps);

}  // namespace doctor
