/// Whole lines to a file descriptor that may be anything: a terminal, a file, a pipe that nobody reads.
#pragma once

#include <cstddef>

#include "locks/locks.h"

/// Threads  any; lines of several threads never mix.
/// Locks    its own, a leaf; signals are blocked on the calling thread while it is held.
/// Errors   none reach the process: no SIGPIPE, no wait beyond kPatienceMs for a reader that has stopped. From then on
///          lines are dropped without a wait until there is room again; then one line tells how many were lost.
class LineWriter {
public:
    static constexpr int kPatienceMs = 100;

    /// Does not own the descriptor.
    constexpr explicit LineWriter(int fd) : fd_(fd) {}

    /// line ends in '\n' and is at most PIPE_BUF bytes long. True when all of it was written.
    bool Write(const char* line, size_t length);

private:
    bool WriteLocked(const char* line, size_t length) REQUIRES(mutex_);
    bool WaitForRoomLocked() const REQUIRES(mutex_);
    void TellLostLocked() REQUIRES(mutex_);

    const int fd_;
    Lock mutex_;
    unsigned long lost_ GUARDED_BY(mutex_) = 0;
};
