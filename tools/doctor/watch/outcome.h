/// What the service made of one event of a pad.
#pragma once

#include <string>
#include <vector>

#include "caught.h"
#include "service_keys.h"

namespace doctor {

/// An event and all that the service did and said before it took the next one.
struct Handled {
    int device = -1;  ///< the gamepad library's; -1: no event, a timer of the service's acted
    Input input{0, 0, 0};
    bool is_menu_mode = true;
    int held_before = -1;  ///< the key that was down, -1: none
    std::vector<SentKey> keys;
    std::vector<std::string> words;
};

/// The event: "A pressed", "left stick left (-20000)".
std::string EventText(const Handled& handled);

/// What came of it: "KEY_ENTER goes down", "nothing: below the threshold".
std::string OutcomeText(const Handled& handled, const ServiceKeys& keys);

}  // namespace doctor
