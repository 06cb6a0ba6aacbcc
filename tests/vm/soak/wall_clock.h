#pragma once

#include <chrono>

/// The machine's time of day, which others may set.
///
/// Threads  one. Errors: std::system_error when the machine refuses.
class WallClock {
public:
    void StepBy(std::chrono::hours hours);
    /// Not earlier than it ever was: what was to end at some time of day ends after its own duration at most.
    void CatchUp();

private:
    std::chrono::system_clock::time_point latest_{};
};
