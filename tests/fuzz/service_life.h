/// A whole life of the service's event handling on the test double: from the start to the end, as the program does it,
/// but for the main loop. What happens between two passes of the dispatcher is a run's script.
#pragma once

#include <functional>

#include "FakePlatform.h"

namespace fuzz {

class ServiceLife {
public:
    /// Called on the dispatcher's thread between two passes; false: the script is over.
    using Step = std::function<bool()>;

    /// Returns when the script is over, and the service has ended and left nothing behind.
    static void Run(FakePlatform& platform, Step step);
};

}  // namespace fuzz
