#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A short life of the service on the test double: pads come and go, keys are pressed and held, games take the focus,
/// settings change, and signals come, some before it has started and some while it ends. All by chance, from the seed.
///
/// What should not be, as sentences. A service that does not end ends the process. One life at a time.
std::vector<std::string> LiveShaken(uint64_t seed);
