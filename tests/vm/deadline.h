#pragma once

#include <chrono>
#include <thread>

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// Longer than anything takes that works, in every clock of the machine: only a failure waits for so long.
constexpr milliseconds kPatience{20000};

/// Asks again and again until the answer is yes; false when it still is no after `patience`.
template <typename Question>
bool Until(Question question, milliseconds patience = kPatience, milliseconds pause = milliseconds(2)) {
    const auto deadline = Clock::now() + patience;
    while (!question()) {
        if (Clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}
