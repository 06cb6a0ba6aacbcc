/// What the service makes of a pad's inputs in menu mode, asked of its own translator.
#pragma once

#include <map>
#include <vector>

#include "input_names.h"

namespace doctor {

/// What a combination or a long press sends.
struct HeldKey {
    std::vector<Input> inputs;  ///< all of them together
    int code;
};

struct ServiceKeys {
    std::map<Input, int> at_once;  ///< platform key codes; an input that sends none is not there
    std::vector<HeldKey> held;     ///< after a second
};

/// Takes a second, as long as a combination does. The settings that decide about Home are those of now.
ServiceKeys AskService();

}  // namespace doctor
