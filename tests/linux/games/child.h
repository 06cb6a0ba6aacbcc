/// A real process that a test starts and ends.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// What it prints goes nowhere. Killed and waited for at the end, if it was not before.
class Child {
public:
    explicit Child(const std::vector<std::string>& command);
    ~Child();
    Child(Child&& other) noexcept;
    Child& operator=(Child&& other) = delete;

    pid_t Pid() const { return pid_; }
    void Write(const std::string& line) const;  ///< to its standard input
    void Kill();
    int Wait();  ///< until it ends by itself; the exit status as waitpid gives it

private:
    pid_t pid_ = -1;
    int input_ = -1;
};

/// Opens the file for reading and, after a line on its standard input, closes it; ends after another line.
Child ReaderOf(const std::string& file, const std::string& shell = "/bin/sh");
