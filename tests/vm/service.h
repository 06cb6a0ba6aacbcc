#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "deadline.h"

/// How the program is started. An environment setting is NAME=TEXT. Of the test's own environment the program gets
/// only what instrumented builds are told in it.
struct ServiceOptions {
    std::vector<std::string> environment;
    uid_t user = 0;                    ///< whose rights it has; 0 leaves those of the test
    std::vector<std::string> command;  ///< another program's path and its arguments; empty: the service itself
};

/// The program as a process of its own, its output collected line by line.
///
/// Threads  any one thread; a thread of its own reads the output. The thread that starts a service outlives it.
/// Owner    the test. A process that still runs at the end is killed.
class Service {
public:
    explicit Service(const ServiceOptions& options);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    pid_t Pid() const { return pid_; }
    void Signal(int number) const;
    /// SIGTERM; once more when the first one came before the main loop, where it is only logged.
    void Terminate();

    /// The exit status, or 1000 + the number of the signal that ended it; nothing when it still runs after `patience`.
    std::optional<int> ExitStatus(milliseconds patience = kPatience);

    /// A place in the output: what comes from now on.
    size_t Now();
    /// Waits for a line at or after `from` that holds `text`; its place, or nothing when none comes.
    std::optional<size_t> Find(const std::string& text, size_t from = 0, milliseconds patience = kPatience);
    bool Prints(const std::string& text, size_t from = 0, milliseconds patience = kPatience) {
        return Find(text, from, patience).has_value();
    }
    /// Lines so far that hold `text`.
    size_t Count(const std::string& text);
    /// The first line at or after `from` that holds `text`; empty when there is none.
    std::string Line(const std::string& text, size_t from = 0);
    /// The end of the output, for a failure's message.
    std::string Tail(size_t lines = 60);

    /// True when the process would run a handler of its own for both signals that it serves.
    bool HandlesSignals() const;
    size_t Threads() const;
    /// What its file descriptors lead to.
    std::vector<std::string> OpenFiles() const;

private:
    void ReadOutput(int fd);
    void TakeLines(std::string& text);

    pid_t pid_ = -1;
    std::optional<int> exitStatus_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::string> lines_;
    std::thread reader_;
};
