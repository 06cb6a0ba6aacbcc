#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

/// A program under observation: a process of its own, with all that it starts in turn.
///
/// Threads  one. Errors: std::system_error where it cannot be started or is gone when it is asked for something.
class Program {
public:
    /// words: environment settings (NAME=TEXT, all that it gets), the program's path and its arguments. Its output goes
    /// to the end of the file `output`.
    Program(const std::vector<std::string>& words, const std::string& output);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Of all its processes, so far.
    std::chrono::nanoseconds ProcessorTime() const;
    long VoluntarySwitches() const;
    long Threads() const;
    long ProportionalKiB() const;  ///< its own memory, and its share of what others map too
    long OwnKiB() const;           ///< what nobody else maps

    /// SIGTERM; the time until it has ended. After five seconds it is killed.
    std::chrono::nanoseconds End();

private:
    pid_t pid_ = -1;
};
