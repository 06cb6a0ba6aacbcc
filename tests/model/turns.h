#pragma once

#include <chrono>
#include <functional>

/// The threads of this program take turns, by a virtual clock: exactly one runs at any moment, the others wait for
/// theirs, and the clock moves only when all of them sleep. So hours pass in seconds, and a run repeats exactly.
///
/// Order    who is woken goes on in the order of the wake-ups; when nobody is left, the clock moves to the sleeper that
///          is due first, among those of one moment to the one that fell asleep first.
/// Scope    what the program and its libraries do with pthread mutexes, conditions, sleeps and the time of day, and
///          std::thread and std::condition_variable. The link options that put it in place stand in CMakeLists.txt.
///          Only semaphores' time-outs count by the virtual clock; other timed waits wait as long as it takes.
/// Life     one at a time. The thread that makes it has the first turn, and is the last one left when it ends.
/// Stuck    when the maker's thread could not go on for an hour, the program tells what `whenStuck` has to say and
/// aborts.
class Turns {
public:
    using Microseconds = std::chrono::microseconds;

    explicit Turns(std::function<void()> whenStuck);
    ~Turns();
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    /// Lets the others live that long, and returns once everything due by then is done and all of them wait.
    void Pass(Microseconds time);
    /// Since the beginning.
    static Microseconds Now();
};
